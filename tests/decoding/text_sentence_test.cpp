// SPDX-License-Identifier: MIT
#include "decoding/text_sentence.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// 'A' ^ 'j' = 0x41 ^ 0x6A = 0x2B.
TEST(NmeaSentence, ChecksumIsXorOfCharactersBetweenDollarAndStar) {
    EXPECT_EQ(decoding::checkNmeaSentence("$Aj*2B"), 0);
    EXPECT_EQ(decoding::checkNmeaSentence("$Aj*2B\r\n"), 0);
}

TEST(NmeaSentence, LowerCaseChecksumDigitsAreAccepted) {
    EXPECT_EQ(decoding::checkNmeaSentence("$Aj*2b"), 0);
}

TEST(NmeaSentence, DigitsDifferingFromXorAreRejected) {
    EXPECT_EQ(decoding::checkNmeaSentence("$Aj*2C"), -3);
    EXPECT_EQ(decoding::checkNmeaSentence("$Aj*"), -3);
}

TEST(NmeaSentence, SentenceWithoutStarIsRejected) {
    EXPECT_EQ(decoding::checkNmeaSentence("$Aj2B\r\n"), -2);
}

TEST(NmeaSentence, LineNotStartingWithDollarIsRejected) {
    EXPECT_EQ(decoding::checkNmeaSentence("Aj*2B"), -1);
    EXPECT_EQ(decoding::checkNmeaSentence(""), -1);
}

TEST(NmeaSentence, AtMost511CharactersMayPrecedeTheStar) {
    // An even count of 'A's XORs to 0.
    const std::string ok = "$" + std::string(510, 'A') + "B*42";
    EXPECT_EQ(decoding::checkNmeaSentence(ok.c_str()), 0);
    const std::string tooLong = "$" + std::string(512, 'A') + "*00";
    EXPECT_EQ(decoding::checkNmeaSentence(tooLong.c_str()), -2);
}

TEST(NmeaSentence, EmptyBodyHasChecksumZero) {
    EXPECT_EQ(decoding::checkNmeaSentence("$*00"), 0);
}

// The reflected CRC-32 with start 0 and no final inversion of "123456789" whose first
// four bytes are inverted is the complement of the standard check value 0xCBF43926.
const char kLogWithKnownCrc[] = "#\xCE\xCD\xCC\xCB"
                                "56789*340bc6d9";

TEST(AsciiLog, LowerCaseCrcOfBodyIsAccepted) {
    EXPECT_EQ(decoding::checkAsciiLog(kLogWithKnownCrc), 0);
}

TEST(AsciiLog, UpperCaseCrcIsRejected) {
    EXPECT_EQ(decoding::checkAsciiLog("#\xCE\xCD\xCC\xCB"
                                      "56789*340BC6D9"),
              -3);
}

TEST(AsciiLog, ShortOrWrongCrcIsRejected) {
    EXPECT_EQ(decoding::checkAsciiLog("#\xCE\xCD\xCC\xCB"
                                      "56789*340bc6d"),
              -3);
    EXPECT_EQ(decoding::checkAsciiLog("#\xCE\xCD\xCC\xCB"
                                      "56789*340bc6d8"),
              -3);
}

TEST(AsciiLog, MissingHashOrStarIsRejected) {
    EXPECT_EQ(decoding::checkAsciiLog("$RANGEA*00000000"), -1);
    EXPECT_EQ(decoding::checkAsciiLog("#RANGEA,1,2"), -2);
}

TEST(TextSentence, DispatchesOnFirstCharacter) {
    EXPECT_EQ(decoding::checkTextSentence("$Aj*2B"), 0);
    EXPECT_EQ(decoding::checkTextSentence("$Aj*00"), -3);
    EXPECT_EQ(decoding::checkTextSentence(kLogWithKnownCrc), 0);
    EXPECT_EQ(decoding::checkTextSentence("#x"), -2);
    EXPECT_EQ(decoding::checkTextSentence("GPGGA"), -1);
}

TEST(AppendNmeaChecksum, WritesStarHexAndLineEnd) {
    char buffer[16] = "$Aj";
    EXPECT_EQ(decoding::appendNmeaChecksum(buffer, 3, sizeof buffer), 5);
    EXPECT_STREQ(buffer, "$Aj*2B\r\n");
    EXPECT_EQ(decoding::checkNmeaSentence(buffer), 0);
}

TEST(AppendNmeaChecksum, WritesNoMoreThanTheRoomLeft) {
    char buffer[8] = "$Aj";
    std::memset(buffer + 3, '~', 5);
    // Room for "*" and the terminator only; the count is what the full text needs.
    EXPECT_EQ(decoding::appendNmeaChecksum(buffer, 3, 5), 5);
    EXPECT_EQ(std::string(buffer, 5), std::string("$Aj*\0", 5));
    EXPECT_EQ(buffer[5], '~');
}

TEST(AppendAsciiLogCrc, WritesLowerCaseCrcOfBody) {
    char buffer[32] = "#\xCE\xCD\xCC\xCB"
                      "56789";
    EXPECT_EQ(decoding::appendAsciiLogCrc(buffer, 10, sizeof buffer), 11);
    EXPECT_STREQ(buffer, "#\xCE\xCD\xCC\xCB"
                         "56789*340bc6d9\r\n");
}

TEST(AppendAsciiLogCrc, HashAloneGetsZeroCrc) {
    char buffer[16] = "#";
    EXPECT_EQ(decoding::appendAsciiLogCrc(buffer, 1, sizeof buffer), 11);
    EXPECT_STREQ(buffer, "#*00000000\r\n");
}

TEST(NmeaTime, FormatsHoursMinutesSecondsAndHundredths) {
    char buffer[16];
    // 12:34:56.789 -> hundredths truncate to 78.
    EXPECT_EQ(decoding::formatNmeaTime(buffer, sizeof buffer, 45296789), 10);
    EXPECT_STREQ(buffer, "123456.78,");
}

TEST(NmeaTime, HoursWrapAtEachDay) {
    char buffer[16];
    // One day and one hour and 5 ms.
    decoding::formatNmeaTime(buffer, sizeof buffer, 86400000u + 3600000u + 5u);
    EXPECT_STREQ(buffer, "010000.00,");
}

TEST(NmeaTime, TooSmallBufferIsLeftUntouched) {
    char buffer[8] = "keep";
    EXPECT_EQ(decoding::formatNmeaTime(buffer, 8, 45296789), 0);
    EXPECT_STREQ(buffer, "keep");
}

TEST(NmeaTime, ParsesOneFractionDigitAsTenthsOfASecond) {
    EXPECT_EQ(decoding::parseNmeaTime("123456.7"), 45296700u);
}

TEST(NmeaTime, ParsesUpToThreeFractionDigits) {
    EXPECT_EQ(decoding::parseNmeaTime("123456.789"), 45296789u);
    EXPECT_EQ(decoding::parseNmeaTime("123456.7891"), 45296789u);
    EXPECT_EQ(decoding::parseNmeaTime("235959."), 86399000u);
}

TEST(NmeaTime, FractionStopsAtTheFieldSeparator) {
    EXPECT_EQ(decoding::parseNmeaTime("123456.78,"), 45296780u);
}

TEST(NmeaTime, ShortTextOrMissingPointGivesZero) {
    EXPECT_EQ(decoding::parseNmeaTime("123456"), 0u);
    EXPECT_EQ(decoding::parseNmeaTime("1234567"), 0u);
    EXPECT_EQ(decoding::parseNmeaTime(""), 0u);
}

} // namespace
