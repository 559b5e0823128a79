// The destructors of the interface classes, so that each has its type information in this one library.
#include "Platform/Devices/RemoteInterface.h"
#include "Platform/Devices/StatusInterface.h"

RemoteInterface::~RemoteInterface() = default;
StatusInterface::~StatusInterface() = default;
