#include "Simulator/RequestDispatcher.h"

#include <algorithm>
#include <exception>
#include <new>
#include <optional>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Platform/Devices/MeshProxy.h"
#include "Simulator/MemberOf.h"

namespace JsonDevice {

namespace {

/// Names from a peer stand in messages, where a megabyte of them helps nobody.
std::string shortened(const std::string& name) {
    constexpr std::size_t most = 100;
    return name.size() <= most ? name : name.substr(0, most) + "...";
}

std::string resultReply(const Json::Value& id, const Json::Value& result) {
    std::string reply = "{\"id\":";
    JsonText::append(reply, id);
    reply += ",\"jsonrpc\":\"2.0\",\"result\":";
    JsonText::append(reply, result);
    reply += '}';
    return reply;
}

std::string listOf(const std::vector<const char*>& names) {
    std::string list;
    for (const char* name : names) {
        list += list.empty() ? " (" : ", ";
        list += name;
    }
    return list.empty() ? list : list + ')';
}

[[noreturn]] void refuseParams(const std::string& why) {
    throw RequestError(ErrorCode::invalidParams, "Invalid params: " + why);
}

/// The values in the order of the names.
std::vector<const Json::Value*> inOrder(const std::vector<const char*>& names, const Json::Value* params) {
    std::vector<const Json::Value*> values;
    if (params == nullptr) {
    } else if (params->isArray()) {
        const bool emptyText =
            params->size() == 1 && (*params)[0].isString() && (*params)[0].asString().empty();
        if (!(names.empty() && emptyText)) {
            for (const Json::Value& value : *params) {
                values.push_back(&value);
            }
        }
    } else {
        for (const char* name : names) {
            if (const Json::Value* const value = memberOf(*params, name)) {
                values.push_back(value);
            } else {
                refuseParams(std::string("'") + name + "' is missing");
            }
        }
        if (params->size() != names.size()) {
            refuseParams("expected no names but" + listOf(names));
        }
    }
    if (values.size() != names.size()) {
        refuseParams("expected " + std::to_string(names.size()) + listOf(names) + ", got " +
                     std::to_string(values.size()));
    }
    return values;
}

/// Calls the function; whatever it throws leaves as a RequestError.
template <class Function>
auto guarded(Function function) {
    const std::string internal = "Internal error: ";
    try {
        return function();
    } catch (const RequestError&) {
        throw;
    } catch (const ErrorReplyException& error) {
        throw RequestError(error.getCode(), error.getErrorMessage(), error.getData());
    } catch (const KorvanExceptionBase& error) {
        throw RequestError(ErrorCode::deviceError, toUtf8(error.getMessage()));
    } catch (const std::bad_alloc&) {
        throw RequestError(ErrorCode::internalError, internal + "out of memory");
    } catch (const std::exception& error) {
        throw RequestError(ErrorCode::internalError, internal + error.what());
    } catch (...) {
        throw RequestError(ErrorCode::internalError, internal + "unknown exception");
    }
}

}  // namespace

Caller::~Caller() = default;

Caller& Caller::nobody() {
    class Nobody final : public Caller {
        void notify(const std::string&) noexcept override {}
    };
    static Nobody nobody;
    return nobody;
}

Passed<Wire::Mesh>::Passed(const Wire::Mesh::Received& text) {
    if (text) {
        try {
            proxy = std::make_unique<SimpleMeshProxy>(std::wstring(), Mesh::fromText(*text));
        } catch (const KorvanException& error) {
            refuseParams(toUtf8(error.getMessage()));
        }
    }
}

Passed<Wire::Mesh>::~Passed() = default;

RequestDispatcher::RequestDispatcher() {
    Vocabulary::registerAllTypes();
}

RequestDispatcher::~RequestDispatcher() = default;

void RequestDispatcher::add(const char* method, std::vector<const char*> names, Handler handler) {
    entries.insert_or_assign(method, Entry{std::move(names), std::move(handler), {}});
}

void RequestDispatcher::bindRaw(const std::string& method, RawFunction function) {
    entries.insert_or_assign(method, Entry{{}, {}, std::move(function)});
}

bool RequestDispatcher::handles(std::string_view method) const {
    return entries.contains(method);
}

std::string RequestDispatcher::handle(const std::string& record) const {
    return handle(record, Caller::nobody());
}

std::string RequestDispatcher::handle(const std::string& record, Caller& caller) const {
    Json::Value request;
    if (!JsonText::read(record, request)) {
        return RequestError(ErrorCode::parseError, "Parse error").toReply({});
    }
    if (!request.isArray()) {
        return answer(request, caller);
    }
    if (request.empty()) {
        return RequestError(ErrorCode::invalidRequest, "Invalid Request: empty batch").toReply({});
    }
    std::string replies;
    for (const Json::Value& one : request) {
        const std::string reply = answer(one, caller);
        if (!reply.empty()) {
            replies += replies.empty() ? '[' : ',';
            replies += reply;
        }
    }
    return replies.empty() ? replies : replies + ']';
}

std::string RequestDispatcher::answer(const Json::Value& request, Caller& caller) const {
    Json::Value id;
    const auto invalid = [&](const char* why) {
        return RequestError(ErrorCode::invalidRequest, std::string("Invalid Request: ") + why).toReply(id);
    };
    if (!request.isObject()) {
        return invalid("not an object");
    }
    const Json::Value* const givenId = memberOf(request, "id");
    if (givenId != nullptr) {
        if (!givenId->isNull() && !givenId->isString() && (givenId->isBool() || !givenId->isNumeric())) {
            return invalid("\"id\" is neither a text nor a number nor null");
        }
        id = *givenId;
    }
    const Json::Value* const version = memberOf(request, "jsonrpc");
    if (version == nullptr || !version->isString() || version->asString() != "2.0") {
        return invalid("\"jsonrpc\" is not \"2.0\"");
    }
    const Json::Value* const method = memberOf(request, "method");
    if (method == nullptr || !method->isString()) {
        return invalid("\"method\" is not a text");
    }
    const Json::Value* const params = memberOf(request, "params");
    if (params != nullptr && !params->isArray() && !params->isObject()) {
        return invalid("\"params\" is neither an array nor an object");
    }
    std::string reply;
    try {
        reply = guarded([&] {
            const auto entry = entries.find(method->asString());
            if (entry == entries.end()) {
                throw RequestError(ErrorCode::methodNotFound,
                                   "Method not found: '" + shortened(method->asString()) + "'");
            }
            return resultReply(id, serve(entry->second, params, caller));
        });
    } catch (const RequestError& error) {
        reply = error.toReply(id);
    }
    return givenId == nullptr ? std::string() : reply;
}

Json::Value RequestDispatcher::serve(const Entry& entry, const Json::Value* params, Caller& caller) const {
    if (entry.raw) {
        return entry.raw(params == nullptr ? Json::Value::nullSingleton() : *params, caller);
    }
    return entry.typed({entry.names, inOrder(entry.names, params)}, caller);
}

void* RequestDispatcher::readParameter(const Parameters& parameters, std::size_t index,
                                       const char* typeName) {
    std::string why;
    try {
        return MarshalJson::instance()->fromJson(*parameters.values[index], typeName);
    } catch (const KorvanExceptionBase& error) {
        why = toUtf8(error.getMessage());
    } catch (const std::exception& error) {
        why = error.what();
    }
    refuseParams(std::string("'") + parameters.names[index] + "': " + why);
}

void RequestDispatcher::refuseNull(const Parameters& parameters, std::size_t index) {
    refuseParams(std::string("'") + parameters.names[index] + "' is null");
}

}  // namespace JsonDevice
