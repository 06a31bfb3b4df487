namespace testsupport {}
