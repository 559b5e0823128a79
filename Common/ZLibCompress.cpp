#include "Common/ZLibCompress.h"

#include <algorithm>
#include <limits>
#include <string>

#include <log4cxx/logger.h>
#include <zlib.h>

namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Common.ZLibCompress");

// The version of the interface that is asked for; zlib compares the major number.
constexpr const char* zlibVersionUsed = "1.2.8";

// zlib counts a buffer in 32 bits. An output buffer is used up to that; more
// input than that is refused, as it could only be cut off.
constexpr unsigned long largestLength = std::numeric_limits<uInt>::max();

z_stream streamOver(unsigned char* in, unsigned long inLength, unsigned char* out) {
    z_stream stream{};
    stream.next_in = in;
    stream.avail_in = static_cast<uInt>(inLength);
    stream.next_out = out;
    return stream;
}

/// Ends a stream that inflates.
struct InflateEnd {
    z_stream& stream;
    ~InflateEnd() { inflateEnd(&stream); }
};

void logInflateError(int result) {
    LOG4CXX_ERROR(logger, "Zlib inflate - error: " + std::to_string(result));
}

}  // namespace

ZLibCompress::ZLibError ZLibCompress::zLibDeflate(unsigned char* in, unsigned long inLength,
                                                  unsigned char* out, unsigned long outCapacity,
                                                  unsigned long& outLength) {
    if (inLength > largestLength) {
        return ZLibFailed;
    }
    z_stream stream = streamOver(in, inLength, out);
    stream.avail_out = static_cast<uInt>(std::min(outCapacity, largestLength));
    if (deflateInit_(&stream, Z_DEFAULT_COMPRESSION, zlibVersionUsed, static_cast<int>(sizeof stream)) !=
        Z_OK) {
        return InitFailed;
    }
    ZLibError error = ZLibFailed;
    if (deflate(&stream, Z_NO_FLUSH) == Z_OK && deflate(&stream, Z_FINISH) == Z_STREAM_END) {
        outLength = stream.total_out;
        error = NoError;
    }
    deflateEnd(&stream);
    return error;
}

ZLibCompress::ZLibError ZLibCompress::zLibInflate(unsigned char* in, unsigned long inLength,
                                                  unsigned char* out, unsigned long outCapacity,
                                                  unsigned long& outLength) {
    return zLibInflateInSteps(in, inLength, out, outCapacity, outLength, largestLength, [](unsigned long) {});
}

ZLibCompress::ZLibError ZLibCompress::zLibInflateInSteps(unsigned char* in, unsigned long inLength,
                                                         unsigned char* out, unsigned long outCapacity,
                                                         unsigned long& outLength, unsigned long step,
                                                         const std::function<void(unsigned long)>& arrived) {
    if (inLength > largestLength) {
        logInflateError(Z_DATA_ERROR);
        return ZLibFailed;
    }
    z_stream stream = streamOver(in, inLength, out);
    if (inflateInit_(&stream, zlibVersionUsed, static_cast<int>(sizeof stream)) != Z_OK) {
        return InitFailed;
    }
    const InflateEnd inflateEnd{stream};
    const unsigned long room = std::min(outCapacity, largestLength);
    ZLibError error = ZLibFailed;
    int result = Z_OK;
    do {
        const bool first = stream.total_out == 0;
        stream.avail_out = static_cast<uInt>(std::min(step, room - stream.total_out));
        result = inflate(&stream, Z_NO_FLUSH);
        if (result == Z_BUF_ERROR && !first) {
            result = Z_OK;  // the input had ended with the step before
        }
        arrived(stream.total_out);
    } while (result == Z_OK && stream.avail_out == 0 && stream.total_out < room);
    if (result == Z_STREAM_END) {
        outLength = stream.total_out;
        error = NoError;
    } else if (result == Z_BUF_ERROR || (result == Z_OK && stream.avail_in > 0)) {
        LOG4CXX_ERROR(logger, "Zlib inflate - uncompressed buffer is too small to hold data.");
        error = BufferTooSmall;
    } else {
        logInflateError(result);
    }
    return error;
}
