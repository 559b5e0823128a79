#pragma once

#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Tools/Command.h"

/// What commands share that come down to calls of methods.
namespace Tool {

/// The operation of a method of the vocabulary.
template <class Method>
const JsonDevice::Vocabulary::Operation& operationOf(const Method& method) {
    return *JsonDevice::Vocabulary::find(method.name);
}

/// Calls the method with the arguments as they were typed, which are checked
/// at once, and answers with its result.
Task callTask(const JsonDevice::Vocabulary::Operation& operation, const std::vector<std::string>& arguments,
              Input& input);

/// A command that calls one method, whose parameters are the command's.
Command callingCommand(const std::string& name, const JsonDevice::Vocabulary::Operation& operation,
                       const std::string& summary, const std::string& example,
                       std::vector<Parameter> parameters);

}  // namespace Tool
