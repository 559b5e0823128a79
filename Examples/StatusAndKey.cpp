// Reads a few status values of a projector and presses a key of its remote control:
//   StatusAndKey tcp://192.168.1.20:5000

#include <cstdlib>
#include <iostream>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonRemote.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Platform/Transport/TcpCommunicator.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: StatusAndKey tcp://HOST:PORT\n";
        return EXIT_FAILURE;
    }
    try {
        // One connection to the projector, which both adapters share. Nothing connects before the first call.
        TcpCommunicator communicator(argv[1]);
        JsonDevice::JsonStatus status(&communicator);
        JsonDevice::JsonRemote remote(&communicator);

        std::cout << "Model: " << toUtf8(status.getModel()) << '\n';
        const std::vector<int> resolution = status.getNativeResolution();
        if (resolution.size() == 2) {
            std::cout << "Resolution: " << resolution[0] << " x " << resolution[1] << '\n';
        }
        for (const int hours : status.getLampHours()) {
            std::cout << "Lamp: " << hours << " h\n";
        }
        remote.sendKeyCode(1);
        std::cout << "Pressed key 1\n";
        return EXIT_SUCCESS;
    } catch (const JsonDevice::ErrorReplyException& error) {
        std::cerr << "The projector refuses: " << error.getErrorMessage() << " (" << error.getCode() << ")\n";
    } catch (const DeviceNotConnectedException& error) {
        std::cerr << "No connection: " << toUtf8(error.getMessage()) << '\n';
    } catch (const KorvanExceptionBase& error) {
        // The root of all that the library throws; it is no std::exception.
        std::cerr << toUtf8(error.getMessage()) << '\n';
    }
    return EXIT_FAILURE;
}
