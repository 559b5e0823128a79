#pragma once

#include <string>

#include "Common/Exceptions.h"
#include "Common/WideText.h"

/// The message of the Exception that the function throws; "nothing thrown" when it does not.
template <class Exception = KorvanParseException, class Function>
std::string refusalOf(Function&& function) {
    try {
        function();
    } catch (const Exception& error) {
        return toUtf8(error.getMessage());
    }
    return "nothing thrown";
}
