#include "Tests/Support/ScriptedCommunicator.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "Common/WideText.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace {
constexpr const char* source = "Tests/Support/ScriptedCommunicator";
}

ScriptedCommunicator::ScriptedCommunicator(std::wstring name) : displayName(std::move(name)) {}

ScriptedCommunicator::~ScriptedCommunicator() {
    verify();
}

ScriptedCommunicator& ScriptedCommunicator::add(Kind kind, std::string text, int count) {
    script.push_back({kind, std::move(text), count});
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::expect(std::string request) {
    return add(Kind::Request, std::move(request));
}

ScriptedCommunicator& ScriptedCommunicator::expectAny() {
    return add(Kind::AnyRequest);
}

ScriptedCommunicator& ScriptedCommunicator::reply(std::string_view text) {
    std::string record(text);
    record.push_back('\0');
    return bytes(std::move(record));
}

ScriptedCommunicator& ScriptedCommunicator::bytes(std::string chunk) {
    return add(Kind::Bytes, std::move(chunk));
}

ScriptedCommunicator& ScriptedCommunicator::bytesInPieces(std::string_view all, std::size_t size) {
    for (std::size_t from = 0; from < all.size(); from += size) {
        bytes(std::string(all.substr(from, size)));
    }
    return *this;
}

ScriptedCommunicator& ScriptedCommunicator::timeOut() {
    return add(Kind::TimeOut);
}

ScriptedCommunicator& ScriptedCommunicator::silence() {
    return add(Kind::Silence);
}

ScriptedCommunicator& ScriptedCommunicator::lose() {
    return add(Kind::Lose);
}

ScriptedCommunicator& ScriptedCommunicator::count(int result) {
    return add(Kind::Count, {}, result);
}

void ScriptedCommunicator::verify() {
    if (!unfinished.empty()) {
        ADD_FAILURE() << "A request was written without the NUL that ends it: " << unfinished;
        unfinished.clear();
    }
    std::erase_if(script, [](const Step& step) { return step.kind == Kind::Silence; });
    for (const Step& step : script) {
        switch (step.kind) {
            case Kind::Request:
                ADD_FAILURE() << "This request was never sent: " << step.text;
                break;
            case Kind::AnyRequest:
                ADD_FAILURE() << "A request was expected and never sent";
                break;
            case Kind::Bytes:
                ADD_FAILURE() << "These bytes were never read: " << step.text;
                break;
            default:
                ADD_FAILURE() << "A scripted time-out, count or loss was never met";
        }
    }
    script.clear();
}

void ScriptedCommunicator::failTest(const std::string& what) {
    ADD_FAILURE() << what;
    throw DeviceException(source, __LINE__, toWide(what));
}

void ScriptedCommunicator::loseConnection() {
    lost = true;
    throw DeviceNotConnectedException(source, __LINE__, displayName + L": the connection is lost");
}

void ScriptedCommunicator::checkRecord(const std::string& record) {
    written.push_back(record);
    if (!script.empty() && script.front().kind == Kind::Silence) {
        script.pop_front();
    }
    if (!script.empty() && script.front().kind == Kind::Lose) {
        script.pop_front();
        loseConnection();
    }
    // What is left to be read does not stop the next request: it may be a notification, or a late reply.
    const auto next = std::find_if(script.begin(), script.end(), isRequest);
    if (next == script.end()) {
        failTest("An unexpected request was sent: " + record);
    }
    if (next->kind == Kind::Request && record != next->text + "\n") {
        failTest("Another request was sent than expected\n  expected: " + next->text +
                 "\n  sent:     " + record);
    }
    script.erase(next);
}

int ScriptedCommunicator::write(const char* data, std::size_t length, int /*block*/, int /*flush*/) {
    if (lost) {
        loseConnection();
    }
    for (std::size_t i = 0; i < length; ++i) {
        if (data[i] != '\0') {
            unfinished.push_back(data[i]);
        } else {
            const std::string record = std::exchange(unfinished, {});
            checkRecord(record);
        }
    }
    return static_cast<int>(length);
}

int ScriptedCommunicator::read(char* buffer, int capacity, int /*minimum*/, int timeoutMs) {
    ++readCalls;
    if (lost) {
        loseConnection();
    }
    if (script.empty() || isRequest(script.front())) {
        failTest("A read with nothing scripted for it");
    }
    Step& step = script.front();
    switch (step.kind) {
        case Kind::Bytes: {
            const std::size_t given =
                std::min(step.text.size(), static_cast<std::size_t>(std::max(capacity, 0)));
            std::copy_n(step.text.data(), given, buffer);
            step.text.erase(0, given);
            if (step.text.empty()) {
                script.pop_front();
            }
            return static_cast<int>(given);
        }
        case Kind::Count: {
            const int result = step.count;
            script.pop_front();
            return result;
        }
        case Kind::Lose:
            script.pop_front();
            loseConnection();
        case Kind::TimeOut:
            script.pop_front();
            break;
        default:  // silence stays
            break;
    }
    if (timeOutHook) {
        timeOutHook(timeoutMs);
    }
    throw DeviceTimedOutException(source, __LINE__, displayName + L": nothing came in time");
}

void ScriptedCommunicator::beginExchange() noexcept {
    if (lost) {
        lost = false;
        ++connections;
    }
}

void ScriptedCommunicator::abandonExchange() noexcept {
    ++abandoned;
    lost = true;
    unfinished.clear();
    // What the old connection still had to say is never heard.
    script.erase(script.begin(), std::find_if(script.begin(), script.end(), isRequest));
}
