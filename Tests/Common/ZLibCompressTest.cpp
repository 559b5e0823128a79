#include <cstdint>
#include <random>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <zlib.h>

#include "Common/Export.h"
#include "Common/ZLibCompress.h"
#include "Tests/Support/LogCapture.h"

namespace {

bool refuseInitialisation = false;

}  // namespace

// The program's own symbols come before those of zlib, so that these stand
// between the library and zlib: initialisation fails when a test asks for it.
extern "C" JSONDEVICE_EXPORT int deflateInit_(z_streamp stream, int level, const char* version, int size) {
    static const auto real =
        reinterpret_cast<int (*)(z_streamp, int, const char*, int)>(dlsym(RTLD_NEXT, "deflateInit_"));
    return refuseInitialisation ? Z_MEM_ERROR : real(stream, level, version, size);
}

extern "C" JSONDEVICE_EXPORT int inflateInit_(z_streamp stream, const char* version, int size) {
    static const auto real =
        reinterpret_cast<int (*)(z_streamp, const char*, int)>(dlsym(RTLD_NEXT, "inflateInit_"));
    return refuseInitialisation ? Z_MEM_ERROR : real(stream, version, size);
}

namespace {

using Bytes = std::vector<unsigned char>;
constexpr unsigned long untouched = 4711;

struct Outcome {
    ZLibCompress::ZLibError error;
    unsigned long length = untouched;
    Bytes bytes;
};

/// Works into exactly `capacity` bytes, of which it keeps what was written.
template <class Operation>
Outcome run(Operation operation, Bytes in, std::size_t capacity) {
    Outcome outcome{ZLibCompress::NoError, untouched, Bytes(capacity + 16, 0xEE)};
    outcome.error = operation(in.data(), in.size(), outcome.bytes.data(), capacity, outcome.length);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(outcome.bytes[capacity + i], 0xEE) << "wrote beyond the buffer";
    }
    outcome.bytes.resize(outcome.length == untouched ? 0 : outcome.length);
    return outcome;
}

Outcome deflated(const Bytes& in, std::size_t capacity) {
    return run(ZLibCompress::zLibDeflate, in, capacity);
}
Outcome inflated(const Bytes& in, std::size_t capacity) {
    return run(ZLibCompress::zLibInflate, in, capacity);
}

Bytes noise(std::size_t length) {
    std::mt19937 random(7);
    Bytes bytes(length);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

Bytes repetitive() {
    Bytes bytes;
    for (int i = 0; i < 5000; ++i) {
        bytes.push_back(static_cast<unsigned char>(i % 50));
    }
    return bytes;
}

TEST(ZLibCompress, WritesWhatZlibWritesAtItsDefaultLevel) {
    const Bytes plain = repetitive();
    Bytes expected(compressBound(plain.size()));
    uLongf length = expected.size();
    ASSERT_EQ(compress(expected.data(), &length, plain.data(), plain.size()), Z_OK);
    expected.resize(length);
    const Outcome outcome = deflated(plain, plain.size());
    EXPECT_EQ(outcome.error, ZLibCompress::NoError);
    EXPECT_EQ(outcome.bytes, expected);
}

TEST(ZLibCompress, InflatesIntoABufferOfExactlyTheSize) {
    const Bytes plain = repetitive();
    const LogCapture log("Common.ZLibCompress");
    const Outcome outcome = inflated(deflated(plain, plain.size()).bytes, plain.size());
    EXPECT_EQ(outcome.error, ZLibCompress::NoError);
    EXPECT_EQ(outcome.bytes, plain);
    EXPECT_TRUE(log.lines().empty());
}

TEST(ZLibCompress, DataThatCannotShrinkDoesNotFit) {
    const LogCapture log("Common.ZLibCompress");
    const Outcome outcome = deflated(noise(4000), 4000);
    EXPECT_EQ(static_cast<int>(outcome.error), 3);
    EXPECT_EQ(outcome.length, untouched);
    EXPECT_TRUE(log.lines().empty());
}

TEST(ZLibCompress, NothingAtAllDoesNotFitIntoNothing) {
    EXPECT_EQ(deflated({}, 0).error, ZLibCompress::ZLibFailed);
}

TEST(ZLibCompress, ABufferOneByteShortIsTooSmall) {
    const Bytes plain = repetitive();
    const Bytes stream = deflated(plain, plain.size()).bytes;
    const LogCapture log("Common.ZLibCompress");
    const Outcome outcome = inflated(stream, plain.size() - 1);
    EXPECT_EQ(static_cast<int>(outcome.error), 2);
    EXPECT_EQ(outcome.length, untouched);
    EXPECT_EQ(log.lines(), std::vector<std::string>{
                               "ERROR Zlib inflate - uncompressed buffer is too small to hold data."});
}

TEST(ZLibCompress, NothingToInflateIsAnErrorOfTheBuffer) {
    const LogCapture log("Common.ZLibCompress");
    const Outcome outcome = inflated({}, 10);
    EXPECT_EQ(static_cast<int>(outcome.error), 2);
    EXPECT_EQ(outcome.length, untouched);
    EXPECT_EQ(log.lines(), std::vector<std::string>{
                               "ERROR Zlib inflate - uncompressed buffer is too small to hold data."});
}

TEST(ZLibCompress, WhatIsNoZlibStreamIsADataError) {
    const LogCapture log("Common.ZLibCompress");
    EXPECT_EQ(static_cast<int>(inflated(Bytes(100, 0x55), 1000).error), 3);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR Zlib inflate - error: -3"});
}

TEST(ZLibCompress, AStreamCutOffAnywhereIsRefused) {
    const Bytes plain = repetitive();
    const Bytes stream = deflated(plain, plain.size()).bytes;
    for (std::size_t length = 1; length < stream.size(); ++length) {
        const LogCapture log("Common.ZLibCompress");
        const Outcome outcome =
            inflated(Bytes(stream.begin(), stream.begin() + static_cast<long>(length)), 2 * plain.size());
        ASSERT_EQ(static_cast<int>(outcome.error), 3) << length;
        ASSERT_EQ(outcome.length, untouched);
        ASSERT_EQ(log.lines(), std::vector<std::string>{"ERROR Zlib inflate - error: 0"});
    }
}

TEST(ZLibCompress, InflatesInStepsAsAtOnce) {
    const Bytes plain = repetitive();
    const Bytes whole = deflated(plain, plain.size()).bytes;
    const std::size_t half = whole.size() / 2;
    Bytes damaged = whole;
    damaged[half] ^= 0xFF;
    const Bytes ends[] = {whole, Bytes(whole.begin(), whole.begin() + static_cast<long>(half)), damaged, {}};
    for (const Bytes& stream : ends) {
        for (const std::size_t capacity :
             {plain.size() - 1, plain.size(), plain.size() + 7, std::size_t{0}}) {
            const LogCapture log("Common.ZLibCompress");
            const Outcome atOnce = inflated(stream, capacity);
            const std::vector<std::string> lines = log.lines();
            for (const unsigned long step :
                 {1UL, 2UL, 3UL, 49UL, 250UL, 1250UL, 2500UL, 4999UL, 5000UL, 9999UL}) {
                const LogCapture stepLog("Common.ZLibCompress");
                std::vector<unsigned long> arrivals;
                const Outcome inSteps = run(
                    [&](unsigned char* in, unsigned long inLength, unsigned char* out, unsigned long room,
                        unsigned long& outLength) {
                        return ZLibCompress::zLibInflateInSteps(
                            in, inLength, out, room, outLength, step,
                            [&](unsigned long n) { arrivals.push_back(n); });
                    },
                    stream, capacity);
                ASSERT_EQ(inSteps.error, atOnce.error) << capacity << " " << step;
                ASSERT_EQ(inSteps.length, atOnce.length);
                ASSERT_EQ(inSteps.bytes, atOnce.bytes);
                ASSERT_EQ(stepLog.lines(), lines);
                for (std::size_t i = 0; i + 1 < arrivals.size(); ++i) {
                    ASSERT_EQ(arrivals[i], (i + 1) * step);
                }
                if (atOnce.error == ZLibCompress::NoError) {
                    ASSERT_EQ(arrivals.back(), atOnce.length);
                }
            }
        }
    }
}

TEST(ZLibCompress, AStreamThatZlibRefusesToStartIsSaidWithoutALogLine) {
    const LogCapture log("Common.ZLibCompress");
    const Bytes plain = repetitive();
    const Bytes stream = deflated(plain, plain.size()).bytes;
    refuseInitialisation = true;
    const Outcome deflating = deflated(plain, plain.size());
    const Outcome inflating = inflated(stream, plain.size());
    refuseInitialisation = false;
    EXPECT_EQ(static_cast<int>(deflating.error), 1);
    EXPECT_EQ(deflating.length, untouched);
    EXPECT_EQ(static_cast<int>(inflating.error), 1);
    EXPECT_EQ(inflating.length, untouched);
    EXPECT_TRUE(log.lines().empty());
}

RC_GTEST_PROP(ZLibCompress, WhatIsDeflatedInflates, (const Bytes& bytes)) {
    const Outcome stream = deflated(bytes, compressBound(bytes.size()));
    RC_ASSERT(stream.error == ZLibCompress::NoError);
    // Room for more changes nothing.
    const Outcome back = inflated(stream.bytes, bytes.size() + 1);
    RC_ASSERT(back.error == ZLibCompress::NoError);
    RC_ASSERT(back.bytes == bytes);
}

}  // namespace
