#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "Platform/Transport/Communicator.h"

namespace Tool {

/// Passes everything on to another communicator and tells what goes over the
/// wire, record by record. The other one is borrowed.
class TrafficCommunicator final : public Communicator {
public:
    /// Gets lines that are safe for a terminal, long records shortened.
    using Show = std::function<void(const std::string& line)>;

    TrafficCommunicator(Communicator& inner, Show show);

    std::wstring getDisplayName() const override { return inner.getDisplayName(); }
    int read(char* buffer, int capacity, int minimum, int timeoutMs) override;
    int write(const char* data, std::size_t length, int block, int flush) override;
    std::uint64_t connectionCount() const override { return inner.connectionCount(); }
    void beginExchange() noexcept override { inner.beginExchange(); }
    void abandonExchange() noexcept override { inner.abandonExchange(); }

private:
    /// One direction: the beginning of the record under way, and its length so far.
    class Records {
    public:
        void add(std::string_view bytes, const char* arrow, const Show& show);
        void forget();

    private:
        std::string beginning;
        std::size_t length = 0;
    };
    void noticeConnection();

    Communicator& inner;
    Show show;
    Records sent;
    Records received;
    std::uint64_t connection;
};

}  // namespace Tool
