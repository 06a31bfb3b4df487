// SPDX-License-Identifier: MIT
namespace testsupport {}
