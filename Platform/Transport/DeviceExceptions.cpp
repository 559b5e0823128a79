#include "Platform/Transport/DeviceExceptions.h"

// The destructors stand here so that each class has its type information in this one library.
DeviceException::~DeviceException() = default;
DeviceTimedOutException::~DeviceTimedOutException() = default;
DeviceNotConnectedException::~DeviceNotConnectedException() = default;
