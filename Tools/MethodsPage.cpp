#include <string>
#include <string_view>

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Tools/Pages.h"

namespace Tool {

namespace {

using JsonDevice::Vocabulary::Operation;
using JsonDevice::Wire::Form;

std::string code(std::string_view text) {
    return "`" + std::string(text) + "`";
}

std::string parameters(const Operation& operation) {
    std::string text;
    for (const auto& parameter : operation.parameters) {
        text += (text.empty() ? "" : ", ") + std::string(parameter.name) + " " + code(parameter.type.name);
    }
    return text.empty() ? "none" : text;
}

std::string summary(const Operation& operation) {
    std::string text = operation.summary;
    if (operation.timeout != JsonDevice::defaultReplyTimeout) {
        text += " Time-out: " + std::to_string(operation.timeout.count() / 1000) + " s.";
    }
    return text;
}

}  // namespace

std::string methodsPage() {
    const auto all = JsonDevice::Vocabulary::operations();
    std::string page =
        "# Methods\n\n"
        "All " +
        std::to_string(all.size()) +
        " methods that devices answer to. Parameters go as an array in the order shown. The types are the\n"
        "names in the registry of marshallers (`MarshalJson`); `jsondevice describe METHOD` tells what an "
        "argument\nlooks like. Unless something else is said, a reply has to come within " +
        std::to_string(JsonDevice::defaultReplyTimeout.count() / 1000) +
        " seconds.\n\n"
        "This page is made from the vocabulary; the target `methods-page` of the build makes it anew.\n";
    std::string_view interfaceName;
    for (const Operation& operation : all) {
        if (operation.interfaceName() != interfaceName) {
            interfaceName = operation.interfaceName();
            page += "\n## " + std::string(interfaceName) +
                    "\n\n| method | parameters | result | what it does |\n|---|---|---|---|\n";
        }
        const bool none = operation.result.form == Form::nothing;
        page += "| " + code(operation.method) + " | " + parameters(operation) + " | " +
                (none ? "none" : code(operation.result.name)) + " | " + summary(operation) + " |\n";
    }
    return page;
}

}  // namespace Tool
