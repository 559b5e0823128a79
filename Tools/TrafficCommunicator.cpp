#include "Tools/TrafficCommunicator.h"

#include <algorithm>
#include <utility>

#include "Tools/Format.h"

namespace Tool {

namespace {

constexpr std::size_t longestShown = 400;

}  // namespace

TrafficCommunicator::TrafficCommunicator(Communicator& c, Show s)
    : inner(c), show(std::move(s)), connection(inner.connectionCount()) {}

int TrafficCommunicator::read(char* buffer, int capacity, int minimum, int timeoutMs) {
    const int count = inner.read(buffer, capacity, minimum, timeoutMs);
    noticeConnection();
    if (count > 0) {
        const auto length = static_cast<std::size_t>(std::min(count, capacity));
        received.add({buffer, length}, "<-- ", show);
    }
    return count;
}

int TrafficCommunicator::write(const char* data, std::size_t length, int block, int flush) {
    const int count = inner.write(data, length, block, flush);
    noticeConnection();
    sent.add({data, length}, "--> ", show);
    return count;
}

void TrafficCommunicator::noticeConnection() {
    const std::uint64_t now = inner.connectionCount();
    if (now != connection) {
        connection = now;
        received.forget();
        show("connected");
    }
}

void TrafficCommunicator::Records::forget() {
    beginning.clear();
    length = 0;
}

void TrafficCommunicator::Records::add(std::string_view bytes, const char* arrow, const Show& show) {
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\0'), bytes.size());
        const std::size_t room = longestShown - std::min(longestShown, beginning.size());
        beginning.append(bytes.substr(0, std::min(end, room)));
        length += end;
        if (end == bytes.size()) {
            return;
        }
        bytes.remove_prefix(end + 1);
        std::string line = arrow;
        if (length > beginning.size()) {
            line += printableLine(beginning) + "... (" + std::to_string(length) + " bytes)";
        } else {
            // The line end that the writer puts behind a record says nothing.
            if (beginning.ends_with('\n')) {
                beginning.pop_back();
            }
            line += printableLine(beginning);
        }
        forget();
        show(line);
    }
}

}  // namespace Tool
