#include "Platform/Transport/Connector.h"

#include "Platform/Transport/Communicator.h"
#include "Platform/Transport/DeviceExceptions.h"

Connector::Connector(Communicator* given) : communicator(given) {
    if (communicator == nullptr) {
        throw DeviceNotConnectedException("Platform/Transport/Connector", __LINE__,
                                          L"There is no connection to a device: no communicator was given");
    }
    communicator->exchangeLock.lock();
    if (communicator->exchangeDepth++ == 0) {
        communicator->exchangeAbandoned = false;
        communicator->beginExchange();
    }
}

Connector::~Connector() {
    if (abandoned) {
        communicator->exchangeAbandoned = true;
    }
    if (--communicator->exchangeDepth == 0 && communicator->exchangeAbandoned) {
        communicator->abandonExchange();
    }
    communicator->exchangeLock.unlock();
}
