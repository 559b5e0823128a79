#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Transport/Communicator.h"

/// A device that says what the test's script says, first in, first out.
///
///     ScriptedCommunicator device;
///     device.expect(R"({"id":1,...})").reply(R"({"id":1,"result":7})");
///
/// A request that is not the next one of the script, a read for which nothing
/// is scripted, and whatever of the script is left over at the end fail the test
/// that is running. Not thread-safe beyond what a Connector gives.
class ScriptedCommunicator : public Communicator {
public:
    explicit ScriptedCommunicator(std::wstring displayName = L"scripted");
    /// Verifies.
    ~ScriptedCommunicator() override;

    // The script. Steps after an expected request are there to be read once it was written.

    /// The next request: its text, without the "\n" and the NUL that end it on the wire.
    ScriptedCommunicator& expect(std::string request);
    /// The next request, whatever it is.
    ScriptedCommunicator& expectAny();
    /// A record: the text and its NUL, in one read.
    ScriptedCommunicator& reply(std::string_view text);
    /// Exactly these bytes, in one read (in more when the reader has less room).
    ScriptedCommunicator& bytes(std::string chunk);
    /// The same, cut into reads of `size` bytes (the last may be shorter).
    ScriptedCommunicator& bytesInPieces(std::string_view bytes, std::size_t size);
    /// One read that times out.
    ScriptedCommunicator& timeOut();
    /// From here to the next request every read times out. Not counted as left over.
    ScriptedCommunicator& silence();
    /// The connection is lost: a read, or a write when it stands before a
    /// request, throws, and so does the rest of the exchange. The next one is on
    /// a new connection.
    ScriptedCommunicator& lose();
    /// One read that returns this count and no bytes, as a bad communicator might.
    ScriptedCommunicator& count(int result);

    /// Called instead of waiting whenever a read times out, with its time-out;
    /// a test with a clock of its own lets it go on here.
    void onTimeOut(std::function<void(int timeoutMs)> hook) { timeOutHook = std::move(hook); }

    /// Fails the running test when something of the script is left over, and forgets it.
    void verify();

    /// Everything written, records without the NUL that ends them.
    const std::vector<std::string>& requests() const { return written; }
    int abandonedExchanges() const { return abandoned; }
    int reads() const { return readCalls; }

    std::wstring getDisplayName() const override { return displayName; }
    int read(char* buffer, int capacity, int minimum, int timeoutMs) override;
    int write(const char* data, std::size_t length, int block, int flush) override;
    std::uint64_t connectionCount() const override { return connections; }
    void beginExchange() noexcept override;
    void abandonExchange() noexcept override;

private:
    enum class Kind { Request, AnyRequest, Bytes, TimeOut, Silence, Lose, Count };
    struct Step {
        Kind kind;
        std::string text;
        int count = 0;
    };

    static bool isRequest(const Step& step) {
        return step.kind == Kind::Request || step.kind == Kind::AnyRequest;
    }
    ScriptedCommunicator& add(Kind kind, std::string text = {}, int count = 0);
    void checkRecord(const std::string& record);
    [[noreturn]] void loseConnection();
    [[noreturn]] void failTest(const std::string& what);

    std::wstring displayName;
    std::deque<Step> script;
    std::string unfinished;
    std::vector<std::string> written;
    std::function<void(int)> timeOutHook;
    std::uint64_t connections = 1;
    bool lost = false;
    int abandoned = 0;
    int readCalls = 0;
};
