#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Vocabulary/Method.h"
#include "Simulator/RequestError.h"

namespace JsonDevice {

/// Whoever sent a request, for functions that tell somebody something later.
class JSONDEVICE_EXPORT Caller {
public:
    Caller() = default;
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;
    virtual ~Caller();

    /// Sends a record (without its NUL) that is no reply. Any thread may call
    /// it; it does not wait for the peer and throws nothing.
    virtual void notify(const std::string& record) noexcept = 0;

    /// A caller that takes notifications and forgets them.
    static Caller& nobody();
};

/// A received parameter in the form in which the host's interfaces take it,
/// for as long as this object lives.
template <class Type>
class Passed {
public:
    explicit Passed(typename Type::Received&& object) : received(std::move(object)) {}
    typename Type::Argument argument() const {
        if constexpr (std::is_pointer_v<typename Type::Argument>) {
            return received.get();
        } else {
            return received;
        }
    }

private:
    typename Type::Received received;
};

/// A mesh comes as its text.
template <>
class JSONDEVICE_EXPORT Passed<Wire::Mesh> {
public:
    /// Throws RequestError for a text that is no mesh.
    explicit Passed(const Wire::Mesh::Received& text);
    Passed(const Passed&) = delete;
    Passed& operator=(const Passed&) = delete;
    ~Passed();
    MeshProxy* argument() const { return proxy.get(); }

private:
    std::unique_ptr<MeshProxy> proxy;
};

/// Serves JSON-RPC 2.0 requests by functions bound to methods of the
/// vocabulary: the counterpart of a typed call. It serves anything, a simulated
/// projector as well as a driver of another protocol that implements the host's
/// interfaces:
///
///     RequestDispatcher dispatcher;
///     dispatcher.bind(Vocabulary::Remote::sendOSD, remote, &RemoteInterface::sendOSD);
///     dispatcher.bind(Vocabulary::Status::getModel, [] { return std::wstring(L"P-100"); });
///     std::string reply = dispatcher.handle(record);
///
/// The compiler checks number and types of the function's parameters and its
/// result against the method.
///
/// Bind first, then serve: any number of threads may be in `handle` as far as
/// the bound functions allow it, while no other binds.
class JSONDEVICE_EXPORT RequestDispatcher {
    template <class MethodType, class Function>
    struct Fit;

public:
    /// An untyped function: the params as they came (null when there were none) to a result.
    using RawFunction = std::function<Json::Value(const Json::Value& params, Caller& caller)>;

    RequestDispatcher();
    RequestDispatcher(const RequestDispatcher&) = delete;
    RequestDispatcher& operator=(const RequestDispatcher&) = delete;
    ~RequestDispatcher();

    /// Takes one record (without its NUL) and gives the reply, without a line
    /// end, or an empty text where none is due: a notification, or a batch of
    /// nothing else. Whatever a bound function throws becomes an error reply:
    /// - RequestError, and a device's ErrorReplyException: its own code, message and data
    /// - others of the host's exception family: ErrorCode::deviceError with its text
    /// - anything else: ErrorCode::internalError
    /// Throws nothing itself but std::bad_alloc.
    ///
    /// Params are an array in the order of the method's parameters, or an
    /// object by their names. A lone empty text counts as no parameters where
    /// the method has none.
    std::string handle(const std::string& record, Caller& caller) const;
    /// For a caller that cannot be notified.
    std::string handle(const std::string& record) const;

    bool handles(std::string_view method) const;

    /// Binds a function (a lambda, say) that takes what the parameters are
    /// received as, before them if it likes the Caller, and returns the
    /// method's native result. What was bound to the method before is replaced.
    template <class Result, class... Types, class Function>
    void bind(const Method<Result, Types...>& method, Function function) {
        using Call = Signature<Function>;
        static_assert(fits<Method<Result, Types...>, Function>,
                      "the function's parameters are not what the method's are received as, or it "
                      "returns something else than the method");
        add(method.name, {method.parameterNames.begin(), method.parameterNames.end()},
            [function = std::move(function)](const Parameters& parameters, Caller& caller) mutable {
                return call<Call, Result, Types...>(function, parameters, caller,
                                                    std::index_sequence_for<Types...>());
            });
    }

    /// Binds an operation of an object, which has to outlive the dispatcher.
    template <class Result, class... Types, class Object, class Class, class Returned, class... Taken>
    void bind(const Method<Result, Types...>& method, Object& object,
              Returned (Class::*operation)(Taken...)) {
        bindOperation<Returned, Taken...>(method, object, operation);
    }
    template <class Result, class... Types, class Object, class Class, class Returned, class... Taken>
    void bind(const Method<Result, Types...>& method, Object& object,
              Returned (Class::*operation)(Taken...) const) {
        bindOperation<Returned, Taken...>(method, object, operation);
    }

    /// Binds a method outside of the vocabulary.
    void bindRaw(const std::string& method, RawFunction function);

    /// Whether the function may be bound to a method of that type.
    template <class MethodType, class Function>
    static constexpr bool fits = Fit<std::remove_const_t<MethodType>, Function>::value;

private:
    /// The parameters of one request in the order of the method.
    struct Parameters {
        const std::vector<const char*>& names;
        const std::vector<const Json::Value*>& values;
    };
    using Handler = std::function<Json::Value(const Parameters&, Caller&)>;
    struct Entry {
        std::vector<const char*> names;
        Handler typed;
        RawFunction raw;
    };

    /// What a function takes. One with a single call operator is compared type
    /// by type, since a call alone would let an integer become a boolean.
    template <class Function, class = void>
    struct Signature {
        template <class... Received>
        static constexpr bool withCaller = std::is_invocable_v<Function&, Caller&, Received...>;
        template <class... Received>
        static constexpr bool takes = withCaller<Received...> || std::is_invocable_v<Function&, Received...>;
        template <class... Received>
        using Result = typename std::conditional_t<withCaller<Received...>,
                                                   std::invoke_result<Function&, Caller&, Received...>,
                                                   std::invoke_result<Function&, Received...>>::type;
    };
    template <class Returned, class... Taken>
    struct ExactSignature {
        template <class... Received>
        static constexpr bool withCaller =
            std::is_same_v<std::tuple<std::remove_cvref_t<Taken>...>, std::tuple<Caller, Received...>>;
        template <class... Received>
        static constexpr bool takes =
            withCaller<Received...> ||
            std::is_same_v<std::tuple<std::remove_cvref_t<Taken>...>, std::tuple<Received...>>;
        template <class... Received>
        using Result = Returned;
    };
    template <class Operator>
    struct OperatorSignature;
    template <class Class, class Returned, class... Taken>
    struct OperatorSignature<Returned (Class::*)(Taken...)> : ExactSignature<Returned, Taken...> {};
    template <class Class, class Returned, class... Taken>
    struct OperatorSignature<Returned (Class::*)(Taken...) const> : ExactSignature<Returned, Taken...> {};
    template <class Function>
    struct Signature<Function, std::void_t<decltype(&Function::operator())>>
        : OperatorSignature<decltype(&Function::operator())> {};
    template <class Returned, class... Taken>
    struct Signature<Returned (*)(Taken...), void> : ExactSignature<Returned, Taken...> {};

    template <class Result, class... Types, class Function>
    struct Fit<Method<Result, Types...>, Function> {
        static constexpr bool check() {
            using Call = Signature<Function>;
            if constexpr (Call::template takes<typename Types::Received...>) {
                return std::is_same_v<
                    std::remove_cvref_t<typename Call::template Result<typename Types::Received...>>,
                    typename Result::Native>;
            }
            return false;
        }
        static constexpr bool value = check();
    };

    template <class Call, class Result, class... Types, class Function, std::size_t... indices>
    static Json::Value call(Function& function, const Parameters& parameters, [[maybe_unused]] Caller& caller,
                            std::index_sequence<indices...>) {
        // Braces, so that they are read, and refused, from left to right.
        std::tuple<typename Types::Received...> received{receive<Types>(parameters, indices)...};
        const auto invoke = [&]() -> decltype(auto) {
            if constexpr (Call::template withCaller<typename Types::Received...>) {
                return function(caller, std::move(std::get<indices>(received))...);
            } else {
                return function(std::move(std::get<indices>(received))...);
            }
        };
        if constexpr (std::is_void_v<typename Result::Native>) {
            invoke();
            return Json::Value();
        } else {
            const typename Result::Native& result = invoke();
            return MarshalJson::instance()->toJson(Result::name, Result::address(result), {});
        }
    }

    template <class Received>
    struct ReceivedObject {
        using Type = Received;
        static constexpr bool mayBeNull = false;
    };
    template <class Object>
    struct ReceivedObject<std::shared_ptr<Object>> {
        using Type = Object;
        static constexpr bool mayBeNull = true;
    };

    template <class Type>
    static constexpr const char* receivedName() {
        if constexpr (requires { Type::receivedName; }) {
            return Type::receivedName;
        } else {
            return Type::name;
        }
    }

    template <class Type>
    static typename Type::Received receive(const Parameters& parameters, std::size_t index) {
        using Object = typename ReceivedObject<typename Type::Received>::Type;
        constexpr const char* name = receivedName<Type>();
        auto* const read = static_cast<Object*>(readParameter(parameters, index, name));
        const std::shared_ptr<Object> object(
            read, [](Object* unused) { MarshalJson::instance()->destroy(receivedName<Type>(), unused); });
        if constexpr (ReceivedObject<typename Type::Received>::mayBeNull) {
            return read == nullptr ? nullptr : object;
        } else {
            if (read == nullptr) {
                refuseNull(parameters, index);
            }
            return std::move(*object);
        }
    }

    template <class Returned, class... Taken, class Result, class... Types, class Object, class Operation>
    void bindOperation(const Method<Result, Types...>& method, Object& object, Operation operation) {
        static_assert(std::is_same_v<std::tuple<std::remove_cvref_t<Taken>...>,
                                     std::tuple<std::remove_cvref_t<typename Types::Argument>...>>,
                      "the operation's parameters are not the method's");
        bind(method, [&object, operation](typename Types::Received... received) -> Returned {
            return (object.*operation)(Passed<Types>(std::move(received)).argument()...);
        });
    }

    void add(const char* method, std::vector<const char*> names, Handler handler);
    /// The object that the registry reads, or null. Whatever it refuses is an
    /// error about that parameter.
    static void* readParameter(const Parameters& parameters, std::size_t index, const char* typeName);
    [[noreturn]] static void refuseNull(const Parameters& parameters, std::size_t index);

    std::string answer(const Json::Value& request, Caller& caller) const;
    Json::Value serve(const Entry& entry, const Json::Value* params, Caller& caller) const;

    std::map<std::string, Entry, std::less<>> entries;
};

}  // namespace JsonDevice
