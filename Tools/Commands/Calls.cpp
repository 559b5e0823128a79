#include "Tools/Commands/Calls.h"

#include <utility>

#include "Tools/Arguments.h"
#include "Tools/Format.h"
#include "Tools/Session.h"

namespace Tool {

using JsonDevice::Vocabulary::Operation;

Task callTask(const Operation& operation, const std::vector<std::string>& arguments, Input& input) {
    return [&operation, params = parseArguments(operation, arguments, input)](Session& session) {
        const Json::Value result = session.call(operation, params);
        return Answer{formatResult(operation.result, result), result};
    };
}

Command callingCommand(const std::string& name, const Operation& operation, const std::string& summary,
                       const std::string& example, std::vector<Parameter> parameters) {
    Command command{name, summary, example, std::move(parameters)};
    command.prepare = [&operation, names = command.parameters](const Given& given) {
        std::vector<std::string> arguments;
        for (const Parameter& parameter : names) {
            arguments.push_back(given.text(parameter.name));
        }
        return callTask(operation, arguments, given.input());
    };
    return command;
}

}  // namespace Tool
