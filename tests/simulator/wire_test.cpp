#include "wire.h"

#include <limits>

#include <gtest/gtest.h>

namespace printer_simulator {
namespace {

TEST(FramePrefix, IsLittleEndian) {
    EXPECT_EQ(frame_prefix(0x16), std::string("\x16\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(frame_prefix(0x0102030405060708), "\x08\x07\x06\x05\x04\x03\x02\x01");
}

TEST(FramePrefix, IsDecodedToTheSameLength) {
    for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{255}, std::uint64_t{1} << 63,
                                       std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_EQ(decoded_prefix(frame_prefix(length)), length);
    }
}

TEST(FrameReader, TakesAFrameInPiecesOfAnySize) {
    const std::string frame = framed("some text");
    for (std::size_t piece = 1; piece <= frame.size(); ++piece) {
        FrameReader reader;
        for (std::size_t at = 0; at < frame.size(); at += piece) {
            EXPECT_EQ(reader.state(), FrameReader::State::incomplete);
            reader.feed(std::string_view(frame).substr(at, piece));
        }
        EXPECT_EQ(reader.state(), FrameReader::State::complete) << piece;
        EXPECT_EQ(reader.text(), "some text");
    }
}

TEST(FrameReader, LeavesWhatFollowsTheFrame) {
    FrameReader reader;
    EXPECT_EQ(reader.feed(framed("ab") + "rest"), 10U);
    EXPECT_EQ(reader.text(), "ab");
}

TEST(FrameReader, IsCompleteAfterAnEmptyFrame) {
    FrameReader reader;
    reader.feed(framed(""));
    EXPECT_EQ(reader.state(), FrameReader::State::complete);
}

TEST(FrameReader, RefusesALengthBeyondTheLimitWithoutTakingMemory) {
    FrameReader reader;
    reader.feed(frame_prefix(REQUEST_LIMIT + 1) + "text");
    EXPECT_EQ(reader.state(), FrameReader::State::too_long);
    EXPECT_TRUE(reader.text().empty());
}

TEST(FrameReader, TakesNoMemoryForBytesThatDidNotCome) {
    FrameReader reader;
    reader.feed(frame_prefix(REQUEST_LIMIT) + "text");
    EXPECT_EQ(reader.state(), FrameReader::State::incomplete);
    EXPECT_LT(reader.text().capacity(), 1000U);
}

} // namespace
} // namespace printer_simulator
