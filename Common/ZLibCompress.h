#pragma once

#include <functional>

#include "Common/Export.h"

/// zlib over whole buffers: one call, an output buffer of the caller's, and never
/// a byte beyond it. Stateless; any number of threads may call on different
/// buffers. Nothing of its own throws. `outLength` is written only on success.
class JSONDEVICE_EXPORT ZLibCompress {
public:
    enum ZLibError : int {
        NoError = 0,
        /// zlib refused to initialise the stream.
        InitFailed = 1,
        /// Inflating only: the data is larger than the output buffer, or there is none.
        BufferTooSmall = 2,
        /// Anything else, deflated data that does not fit included.
        ZLibFailed = 3,
    };

    /// Deflates at zlib's default level, as a zlib stream. Logs nothing.
    static ZLibError zLibDeflate(unsigned char* in, unsigned long inLength, unsigned char* out,
                                 unsigned long outCapacity, unsigned long& outLength);
    /// Inflates one zlib stream; what follows it in `in` is ignored. Logs why it failed.
    static ZLibError zLibInflate(unsigned char* in, unsigned long inLength, unsigned char* out,
                                 unsigned long outCapacity, unsigned long& outLength);
    /// The same, and says by arrived(n), each time another `step` bytes (at least 1) are
    /// there and when no more come, that the first n can be used. What arrived throws
    /// reaches the caller.
    static ZLibError zLibInflateInSteps(unsigned char* in, unsigned long inLength, unsigned char* out,
                                        unsigned long outCapacity, unsigned long& outLength,
                                        unsigned long step,
                                        const std::function<void(unsigned long)>& arrived);
};
