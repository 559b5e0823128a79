#include "Tests/Support/CommunicatorPair.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Platform/Transport/DeviceExceptions.h"

namespace {
constexpr const char* source = "Tests/Support/CommunicatorPair";
}

CommunicatorPair::CommunicatorPair() : ends{End(*this, 0), End(*this, 1)} {}

void CommunicatorPair::connect() {
    for (Inbox& inbox : inboxes) {
        inbox.bytes.clear();
        inbox.taken = 0;
        inbox.untilCut = std::string::npos;
        inbox.held = false;
    }
    for (End& end : ends) {
        end.knowsOfEnd = false;
    }
    connected = true;
    ++connections;
    changed.notify_all();
}

void CommunicatorPair::waitForConnection(std::uint64_t count) {
    std::unique_lock guard(mutex);
    changed.wait(guard, [&] { return connections >= count; });
}

void CommunicatorPair::End::limitReads(std::size_t bytes) {
    const std::lock_guard guard(pair.mutex);
    pair.inboxes[index].readLimit = bytes == 0 ? std::string::npos : bytes;
}

void CommunicatorPair::End::hold() {
    const std::lock_guard guard(pair.mutex);
    pair.inboxes[index].held = true;
}

void CommunicatorPair::End::release() {
    const std::lock_guard guard(pair.mutex);
    pair.inboxes[index].held = false;
    pair.changed.notify_all();
}

void CommunicatorPair::End::cutAfter(std::size_t bytes) {
    const std::lock_guard guard(pair.mutex);
    pair.inboxes[index].untilCut = bytes;
    pair.changed.notify_all();
}

void CommunicatorPair::End::disconnect() {
    const std::lock_guard guard(pair.mutex);
    pair.connected = false;
    knowsOfEnd = true;
    pair.changed.notify_all();
}

void CommunicatorPair::End::reconnect() {
    const std::lock_guard guard(pair.mutex);
    pair.connect();
}

void CommunicatorPair::End::beginExchange() noexcept {
    const std::lock_guard guard(pair.mutex);
    startsExchange = true;
}

void CommunicatorPair::End::send(std::string_view bytes) {
    write(bytes.data(), bytes.size(), 1, 1);
}

std::string CommunicatorPair::End::receiveRecord(int timeoutMs) {
    std::string record;
    char next;
    while (read(&next, 1, 1, timeoutMs) == 1 && next != '\0') {
        record.push_back(next);
    }
    return record;
}

std::wstring CommunicatorPair::End::getDisplayName() const {
    return index == 0 ? L"host end" : L"device end";
}

std::uint64_t CommunicatorPair::End::connectionCount() const {
    const std::lock_guard guard(pair.mutex);
    return pair.connections;
}

int CommunicatorPair::End::write(const char* data, std::size_t length, int /*block*/, int /*flush*/) {
    const std::lock_guard guard(pair.mutex);
    if (std::exchange(startsExchange, false) && !pair.connected) {
        pair.connect();
    }
    if (!pair.connected) {
        knowsOfEnd = true;
        throw DeviceNotConnectedException(source, __LINE__, getDisplayName() + L": the connection has ended");
    }
    pair.inboxes[1 - index].bytes.append(data, length);
    pair.changed.notify_all();
    return static_cast<int>(length);
}

int CommunicatorPair::End::read(char* buffer, int capacity, int minimum, int timeoutMs) {
    Inbox& inbox = pair.inboxes[index];
    std::unique_lock guard(pair.mutex);
    const auto arrived = [&] { return inbox.bytes.size() - inbox.taken; };
    const auto available = [&] { return inbox.held ? 0 : std::min(arrived(), inbox.untilCut); };
    // What lies behind a cut never arrives.
    const auto ended = [&] { return inbox.untilCut <= arrived() || !pair.connected; };
    if (std::exchange(startsExchange, false) && knowsOfEnd) {
        pair.connect();
    }
    const auto wanted = static_cast<std::size_t>(std::max(minimum, 1));
    const auto ready = [&] { return available() >= wanted || (ended() && !inbox.held); };
    if (timeoutMs == 0) {
        pair.changed.wait(guard, ready);
    } else if (!pair.changed.wait_for(guard, std::chrono::milliseconds(timeoutMs), ready)) {
        throw DeviceTimedOutException(source, __LINE__, getDisplayName() + L": nothing came in time");
    }
    const std::size_t count =
        std::min({available(), static_cast<std::size_t>(std::max(capacity, 0)), inbox.readLimit});
    if (count == 0) {
        pair.connected = false;
        knowsOfEnd = true;
        pair.changed.notify_all();
        throw DeviceNotConnectedException(source, __LINE__, getDisplayName() + L": the connection has ended");
    }
    inbox.bytes.copy(buffer, count, inbox.taken);
    inbox.taken += count;
    if (inbox.taken == inbox.bytes.size()) {
        inbox.bytes.clear();
        inbox.taken = 0;
    }
    if (inbox.untilCut != std::string::npos) {
        inbox.untilCut -= count;
    }
    return static_cast<int>(count);
}
