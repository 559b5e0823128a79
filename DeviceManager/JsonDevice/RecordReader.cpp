#include "DeviceManager/JsonDevice/RecordReader.h"

#include <chrono>
#include <cstring>
#include <thread>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/Logging.h"
#include "Platform/Transport/Communicator.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace JsonDevice {

namespace {

constexpr const char* file = "DeviceManager/JsonDevice/JsonConnection";
constexpr int bufferSize = 65536;
/// One byte less than the buffer, so that its content always ends with a NUL.
constexpr int blockSize = bufferSize - 1;

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonConnection");

}  // namespace

RecordReader::RecordReader() : readBuffer(bufferSize), clock(&Clock::standard()) {}

void RecordReader::follow(const Communicator* communicator) {
    connection = communicator == nullptr ? 0 : communicator->connectionCount();
}

std::string RecordReader::read(Communicator& communicator, int timeoutMs, const std::string& logContext) {
    if (communicator.connectionCount() != connection) {
        follow(&communicator);
        readPos = readLen = 0;
        skipping = false;
    }
    std::string line;
    const auto deadline = clock->now() + std::chrono::milliseconds(timeoutMs);
    std::size_t skipped = 0;
    bool refused = false;
    for (;;) {
        if (!skipping && line.empty()) {
            skipEmptyRecords();
        }
        const char* const begin = readBuffer.data() + readPos;
        const auto available = static_cast<std::size_t>(readLen - readPos);
        const void* const nul = available == 0 ? nullptr : std::memchr(begin, 0, available);
        const std::size_t length =
            nul == nullptr ? available : static_cast<std::size_t>(static_cast<const char*>(nul) - begin);
        if (!skipping && line.size() + length > largestRecord) {
            skipping = refused = true;
            skipped = line.size();
            line = {};
        }
        if (skipping) {
            skipped += length;
        } else {
            line.append(begin, length);
        }
        readPos += static_cast<int>(length);
        if (nul != nullptr) {
            if (refused) {
                skipping = false;
                refuseTooLarge(skipped, true, logContext);
            }
            if (skipping) {
                // The end of a record that an earlier call refused.
                skipping = false;
                continue;
            }
            JSONDEVICE_LOG(logger, Trace, logContext + "Buffer'" + readBuffer.data() + "'");
            JSONDEVICE_LOG(logger, Trace, logContext + "'" + line + "'");
            // Room for the parser to read in place.
            line.reserve(line.size() + JsonText::readPadding);
            return line;
        }
        if (timeoutMs != 0 && clock->now() >= deadline) {
            if (refused) {
                refuseTooLarge(skipped, false, logContext);
            }
            return {};
        }
        try {
            fill(communicator, timeoutMs, logContext);
            if (communicator.connectionCount() != connection) {
                // The read connected anew: what it brought belongs to the new connection, what came before
                // does not.
                follow(&communicator);
                line.clear();
                skipping = refused = false;
            }
            if (line.empty() && !skipping) {
                skipEmptyRecords();
            }
        } catch (const DeviceNotConnectedException&) {
            if (refused) {
                refuseTooLarge(skipped, false, logContext);
            }
            throw;
        }
    }
}

void RecordReader::skipEmptyRecords() {
    while (readPos < readLen && readBuffer[static_cast<std::size_t>(readPos)] == 0) {
        ++readPos;
    }
}

void RecordReader::fill(Communicator& communicator, int timeoutMs, const std::string& logContext) {
    // Before the read: one that throws must leave nothing to be scanned again.
    readPos = readLen = 0;
    const auto before = clock->now();
    int count = 0;
    bool timedOut = false;
    try {
        count = communicator.read(readBuffer.data(), blockSize, 1, timeoutMs);
    } catch (const DeviceTimedOutException&) {
        timedOut = true;
    }
    if (count < 0) {
        throw DeviceNotConnectedException(
            file, __LINE__, toWide(logContext) + L"Reading failed with " + std::to_wstring(count));
    }
    if (count > blockSize) {
        throw BrokenProtocolException(file, __LINE__,
                                      toWide(logContext) + L"The transport reported " +
                                          std::to_wstring(count) + L" bytes read, into room for " +
                                          std::to_wstring(blockSize));
    }
    if (count == 0 && clock->now() - before < std::chrono::milliseconds(1)) {
        // A transport that returns at once without a byte cannot be waited
        // upon; asking it again in a tight loop would take a whole processor.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (timedOut) {
        return;
    }
    readLen = count;
    readBuffer[static_cast<std::size_t>(count)] = 0;
    JSONDEVICE_LOG(logger, Trace, logContext + "FullLine:" + readBuffer.data());
}

void RecordReader::refuseTooLarge(std::size_t size, bool whole, const std::string& logContext) {
    throw BrokenProtocolException(file, __LINE__,
                                  toWide(logContext) + L"JSON response of " + (whole ? L"" : L"more than ") +
                                      std::to_wstring(size) + L" bytes is larger than the largest allowed, " +
                                      std::to_wstring(largestRecord) + L" bytes");
}

}  // namespace JsonDevice
