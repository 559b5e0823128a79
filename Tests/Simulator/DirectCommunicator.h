#pragma once

#include <string>

#include "Platform/Transport/Communicator.h"
#include "Simulator/Projector.h"

/// A projector at the other end of no wire at all.
class DirectCommunicator final : public Communicator {
public:
    explicit DirectCommunicator(JsonDevice::Simulation::Projector& ownProjector) : projector(ownProjector) {}

    std::wstring getDisplayName() const override { return L"direct"; }
    int read(char* buffer, int capacity, int, int) override {
        const std::size_t count = replies.copy(buffer, static_cast<std::size_t>(capacity));
        replies.erase(0, count);
        return static_cast<int>(count);
    }
    int write(const char* data, std::size_t length, int, int) override {
        requests.append(data, length);
        for (auto end = requests.find('\0'); end != std::string::npos; end = requests.find('\0')) {
            replies += projector.handle(requests.substr(0, end)) + '\0';
            requests.erase(0, end + 1);
        }
        return static_cast<int>(length);
    }

private:
    JsonDevice::Simulation::Projector& projector;
    std::string requests;
    std::string replies;
};
