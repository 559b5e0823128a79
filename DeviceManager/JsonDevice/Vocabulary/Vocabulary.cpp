#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"

#include <algorithm>
#include <type_traits>

#include "DeviceManager/JsonDevice/JsonColor.h"
#include "DeviceManager/JsonDevice/JsonIG.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/Vocabulary/AllMethods.h"

namespace JsonDevice::Vocabulary {

namespace {

template <class Result, class... Types>
Operation describe(const Method<Result, Types...>& method) {
    Operation operation{method.name, method.summary, {Result::name, Result::form}, {}, method.timeout};
    [[maybe_unused]] std::size_t i = 0;
    (operation.parameters.push_back(
         {method.parameterNames[i++],
          {Types::name, Types::form, std::is_pointer_v<typename Types::Argument>}}),
     ...);
    return operation;
}

}  // namespace

std::span<const Operation> operations() {
    static const std::vector<Operation> table = [] {
        std::vector<Operation> all;
        forEachMethod([&](const auto& method) { all.push_back(describe(method)); });
        return all;
    }();
    return table;
}

const Operation* find(std::string_view method) {
    const auto all = operations();
    const auto found = std::ranges::find(all, method, &Operation::method);
    return found == all.end() ? nullptr : &*found;
}

void registerAllTypes() {
    JsonStatus::registerStatusInterfaceTypes();
    JsonWarp::registerWarpTypes();
    JsonIG::registerIGTypes();
    JsonColor::registerColorInterfaceTypes();
}

}  // namespace JsonDevice::Vocabulary
