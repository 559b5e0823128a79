#include "Tools/Command.h"

#include <algorithm>

#include "Common/NumberText.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

const std::vector<std::string>& Given::all(const std::string& name) const {
    static const std::vector<std::string> none;
    const auto found = std::ranges::find(values, name, [](const auto& value) { return value.first; });
    return found == values.end() ? none : found->second;
}

const std::string& Given::text(const std::string& name) const {
    static const std::string empty;
    const auto& given = all(name);
    return given.empty() ? empty : given.back();
}

int Given::number(const std::string& name, int least, int most, int otherwise) const {
    if (!has(name)) {
        return otherwise;
    }
    const auto value = readNumber<int>(text(name));
    if (!value || *value < least || *value > most) {
        refuseUsage(name + ": " + inQuotes(text(name)) + " is not a whole number from " +
                    std::to_string(least) + " to " + std::to_string(most));
    }
    return *value;
}

const std::vector<Option>& commonOptions() {
    static const std::vector<Option> options = {
        {"-d,--device", "ADDRESS",
         "The device, tcp://host:port; also from JSONDEVICE. Several, or @FILE with one on each line, are "
         "asked at the same time",
         Hint::device, true},
        {"--json", "", "Print one JSON document, errors included"},
        {"--timeout", "SECONDS", "How long to wait for the connection and for each reply; 0 for ever"},
        {"-q,--quiet", "", "No notes and no progress, only errors"},
        {"-v,--verbose", "", "Show what goes over the wire, on standard error"},
    };
    return options;
}

}  // namespace Tool
