#include "Simulator/CodeTable.h"

#include <cassert>
#include <exception>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice::Simulation {

namespace {

std::string toText(double number) {
    std::string text;
    const auto whole = static_cast<Json::Int64>(number);
    JsonText::append(text, static_cast<double>(whole) == number ? Json::Value(whole) : Json::Value(number));
    return text;
}

}  // namespace

Code::Code(CodeDescription ownDescription) : description(std::move(ownDescription)) {}

Code::~Code() = default;

void Code::checkRange(double number) const {
    const auto& range = description.range;
    // Written so that a NaN is out of every range.
    if (range && !(number >= range->minimum && number <= range->maximum)) {
        throw RequestError(ErrorCode::outOfRange, description.code + ": " + toText(number) +
                                                      " is not within " + toText(range->minimum) + " to " +
                                                      toText(range->maximum));
    }
}

void* Code::convert(const Json::Value& value, const char* typeName) const {
    std::string why = "null";
    try {
        if (void* const object = MarshalJson::instance()->fromJson(value, typeName)) {
            return object;
        }
    } catch (const KorvanExceptionBase& error) {
        why = toUtf8(error.getMessage());
    } catch (const std::exception& error) {
        why = error.what();
    }
    throw RequestError(ErrorCode::invalidParams,
                       "Invalid params: '" + description.code + "' takes " + typeName + ": " + why);
}

CodeTable::CodeTable() = default;

CodeTable::~CodeTable() = default;

void CodeTable::add(Code& code) {
    [[maybe_unused]] const bool added = codes.emplace(code.getDescription().code, &code).second;
    assert(added);
}

Code& CodeTable::find(const std::string& code) const {
    const auto found = codes.find(code);
    if (found == codes.end()) {
        constexpr std::size_t most = 100;
        throw RequestError(ErrorCode::unknownCode, "Unknown code: '" + code.substr(0, most) + "'");
    }
    return *found->second;
}

void CodeTable::addListener(Listener listener) {
    listeners.push_back(std::move(listener));
}

void CodeTable::tellListeners(const Code& changed) const {
    for (const Listener& listener : listeners) {
        listener(changed);
    }
}

void CodeTable::restoreDefaults() {
    for (const auto& [name, code] : codes) {
        const CodeDescription& description = code->getDescription();
        if (!description.readOnly && !description.keptByFactoryDefault) {
            code->restore();
        }
    }
}

}  // namespace JsonDevice::Simulation
