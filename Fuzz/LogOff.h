#pragma once

#include <log4cxx/logger.h>

/// What is refused is logged, which takes longer than refusing it.
inline const bool logIsOff = [] {
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
    return true;
}();
