#pragma once

#include "Common/Exceptions.h"

/// What a transport raises. All derive from KorvanException.
class JSONDEVICE_EXPORT DeviceException : public KorvanException {
public:
    using KorvanException::KorvanException;
    ~DeviceException() override;
};

/// The device sent nothing in the time that a read allows.
class JSONDEVICE_EXPORT DeviceTimedOutException : public DeviceException {
public:
    using DeviceException::DeviceException;
    ~DeviceTimedOutException() override;
};

/// There is no connection to the device: none could be made, or it broke.
class JSONDEVICE_EXPORT DeviceNotConnectedException : public DeviceException {
public:
    using DeviceException::DeviceException;
    ~DeviceNotConnectedException() override;
};
