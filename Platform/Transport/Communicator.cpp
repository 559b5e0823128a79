#include "Platform/Transport/Communicator.h"

Communicator::Communicator() = default;
Communicator::~Communicator() = default;
