#include "Platform/DeviceControl/BaseInterface.h"

#include <utility>

BaseInterface::BaseInterface() = default;
BaseInterface::~BaseInterface() = default;

void BaseInterface::deregisterObserver(int number) {
    const std::lock_guard guard(observersLock);
    observers.erase(number);
}

void BaseInterface::updateObservers(const std::string& what) {
    std::map<int, InterfaceObserver> round;
    {
        const std::lock_guard guard(observersLock);
        round = observers;
    }
    for (const auto& [number, observer] : round) {
        observer(*this, what);
    }
}

int BaseInterface::registerObserver2(InterfaceObserver observer) {
    const std::lock_guard guard(observersLock);
    observers.emplace(++lastNumber, std::move(observer));
    return lastNumber;
}
