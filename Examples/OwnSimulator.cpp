// Tests a host's code without a projector: runs a simulated one in this process,
// and makes it answer with errors.

#include <cstdlib>
#include <iostream>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"

int main() {
    try {
        JsonDevice::Simulator simulator;
        simulator.start();
        TcpCommunicator communicator(simulator.getAddress());
        JsonDevice::JsonStatus status(&communicator);
        std::cout << "Model: " << toUtf8(status.getModel()) << '\n';

        simulator.misbehave("error,count=1");
        try {
            status.getModel();
            std::cerr << "The simulated projector did not misbehave\n";
            return EXIT_FAILURE;
        } catch (const JsonDevice::ErrorReplyException& error) {
            std::cout << "As told, an error: " << error.getErrorMessage() << '\n';
        }
        std::cout << "And again: " << toUtf8(status.getModel()) << '\n';
        return EXIT_SUCCESS;
    } catch (const KorvanExceptionBase& error) {
        std::cerr << toUtf8(error.getMessage()) << '\n';
        return EXIT_FAILURE;
    }
}
