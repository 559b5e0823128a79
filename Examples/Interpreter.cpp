// Reads and writes a value by its code, and waits to be told that another
// connection changed it.
//
//     Interpreter tcp://127.0.0.1:5000
#include <iostream>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/DeviceMessage.h"
#include "DeviceManager/JsonDevice/JsonInterpreter.h"
#include "Platform/Transport/TcpCommunicator.h"

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: Interpreter tcp://HOST:PORT\n";
        return 2;
    }
    // Each interpreter has a connection of its own, so that notifications
    // never meet a typed call.
    TcpCommunicator watching(argv[1]);
    TcpCommunicator changing(argv[1]);
    JsonDevice::JsonInterpreter watcher(&watching);
    JsonDevice::JsonInterpreter changer(&changing);

    // Asking for the value also tells the device that this connection wants notifications.
    const Json::Value before = watcher.getValue("osd");
    if (!before.isInt()) {
        std::cerr << "the device does not know the code 'osd'\n";
        return 1;
    }
    std::cout << "osd was " << before.asInt() << '\n';

    bool told = false;
    watcher.addCallback("osd", [&](JsonDevice::DeviceMessage m) {
        std::cout << "osd is now " << m.getParamAt(1).asInt() << '\n';
        told = true;
    });
    changer.setValue("osd", 1 - before.asInt());

    // Callbacks run here, on the thread that polls.
    for (int polls = 0; !told && polls < 100; ++polls) {
        watcher.processMessages();
    }
    return told ? 0 : 1;
} catch (const KorvanExceptionBase& e) {
    std::cerr << "error: " << toUtf8(e.getMessage()) << '\n';
    return 1;
}
