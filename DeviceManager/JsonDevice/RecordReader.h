#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/Clock.h"

class Communicator;

namespace JsonDevice {

/// Cuts the byte stream of a Communicator into the records between its NUL
/// bytes. Knows nothing of what is in them. Used under a Connector.
class JSONDEVICE_EXPORT RecordReader {
public:
    /// The largest record unless set otherwise: 512 MiB.
    static constexpr std::size_t defaultLargestRecord = std::size_t{512} << 20;

    RecordReader();

    /// The next record; empty when timeoutMs (0: no limit) passed without a
    /// whole one, and what had come of it is dropped then. Empty records are
    /// skipped, and bytes of an earlier connection dropped.
    ///
    /// A record above the largest size is skipped up to its NUL without being
    /// kept and raises BrokenProtocolException. What the Communicator throws
    /// passes, except DeviceTimedOutException, after which the read is repeated
    /// until the time-out has passed.
    std::string read(Communicator& communicator, int timeoutMs, const std::string& logContext);

    /// From now on the bytes of this communicator follow those in the buffer. May be null.
    void follow(const Communicator* communicator);

    void setLargestRecord(std::size_t bytes) { largestRecord = bytes; }
    std::size_t getLargestRecord() const { return largestRecord; }
    /// The clock is not owned and must outlive the reader.
    void setClock(const Clock& newClock) { clock = &newClock; }
    const Clock& getClock() const { return *clock; }

private:
    void skipEmptyRecords();
    /// Reads the next block; an empty one when nothing came.
    void fill(Communicator& communicator, int timeoutMs, const std::string& logContext);
    [[noreturn]] void refuseTooLarge(std::size_t size, bool whole, const std::string& logContext);

    std::vector<char> readBuffer;
    int readPos = 0;
    int readLen = 0;
    std::uint64_t connection = 0;
    /// The bytes up to the next NUL belong to a record that was refused.
    bool skipping = false;
    std::size_t largestRecord = defaultLargestRecord;
    const Clock* clock;
};

}  // namespace JsonDevice
