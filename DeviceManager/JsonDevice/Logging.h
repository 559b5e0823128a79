#pragma once

#include <string>

#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/logger.h>

/// Logs a UTF-8 text, which is built only when the level is on. log4cxx's own
/// macros take narrow text to be in the encoding of the process's locale.
///
///     JSONDEVICE_LOG(logger, Trace, logContext + "..." + text);
#define JSONDEVICE_LOG(logger, level, text)                                                       \
    do {                                                                                          \
        if ((logger)->is##level##Enabled()) {                                                     \
            ::log4cxx::LogString decodedText;                                                     \
            ::log4cxx::helpers::Transcoder::decodeUTF8(text, decodedText);                        \
            (logger)->forcedLogLS(::log4cxx::Level::get##level(), decodedText, LOG4CXX_LOCATION); \
        }                                                                                         \
    } while (false)
