#include "Platform/Transport/NameLookup.h"

#include <algorithm>
#include <list>
#include <memory>
#include <mutex>

#include <netdb.h>

// ThreadSanitizer crashes on the threads that the C library makes for
// getaddrinfo_a(), so under it names are looked up on the calling thread, and
// the deadline is not kept.
#if defined(__SANITIZE_THREAD__)
#define JSONDEVICE_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define JSONDEVICE_THREAD_SANITIZER
#endif
#endif

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

// gai_suspend() cannot be woken from another thread, so a cancelled lookup is noticed after at most this.
[[maybe_unused]] constexpr std::chrono::steady_clock::duration longestWait = 50ms;

/// One question to the C library's asynchronous resolver. Asio's own resolver
/// is no choice here: its destructor waits for the system's answer, however
/// long that takes. The memory must stay where it is until the answer came.
struct Query {
    explicit Query(const std::string& name) : host(name) {
        hints.ai_socktype = SOCK_STREAM;
        request.ar_name = host.c_str();
        request.ar_request = &hints;
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    ~Query() {
        if (request.ar_result != nullptr) {
            freeaddrinfo(request.ar_result);
        }
    }

    std::string host;
    addrinfo hints{};
    gaicb request{};
};

/// Keeps the queries that nobody waits for any more until they were answered.
void leaveBehind(std::unique_ptr<Query> query) {
    static std::mutex mutex;
    // Never destroyed: the resolver may write into a query while the process ends.
    static auto& unanswered = *new std::list<std::unique_ptr<Query>>;
    const std::lock_guard guard(mutex);
    unanswered.remove_if([](const auto& old) { return gai_error(&old->request) != EAI_INPROGRESS; });
    if (query != nullptr) {
        unanswered.push_back(std::move(query));
    }
}

std::wstring describeFailure(int error) {
    switch (error) {
        case EAI_NONAME:
        case EAI_NODATA:
            return L"no host of that name is known";
        case EAI_AGAIN:
            return L"the name service does not answer";
        case EAI_FAIL:
            return L"the name service failed";
        default:
            return L"looking up the name failed (code " + std::to_wstring(error) + L")";
    }
}

}  // namespace

LookupResult lookUp(const std::string& host, std::uint16_t port, [[maybe_unused]] Deadline deadline,
                    [[maybe_unused]] const std::function<bool()>& isCancelled) {
    asio::error_code notNumeric;
    const auto address = asio::ip::make_address(host, notNumeric);
    if (!notNumeric) {
        return {{tcp::endpoint(address, port)}, {}};
    }
    if (host == "localhost" || host == "localhost.") {
        // IPv4 first: it is where a simulated projector listens unless told otherwise.
        return {{tcp::endpoint(asio::ip::address_v4::loopback(), port),
                 tcp::endpoint(asio::ip::address_v6::loopback(), port)},
                {}};
    }
    leaveBehind(nullptr);
    auto query = std::make_unique<Query>(host);
    [[maybe_unused]] gaicb* const requests[] = {&query->request};
#if defined(JSONDEVICE_THREAD_SANITIZER)
    const int status = getaddrinfo(query->request.ar_name, nullptr, &query->hints, &query->request.ar_result);
#else
    if (const int error = getaddrinfo_a(GAI_NOWAIT, const_cast<gaicb**>(requests), 1, nullptr); error != 0) {
        return {{}, describeFailure(error)};
    }
    int status;
    while ((status = gai_error(&query->request)) == EAI_INPROGRESS) {
        auto wait = longestWait;
        if (deadline) {
            wait = std::min(wait, *deadline - std::chrono::steady_clock::now());
        }
        if (wait <= wait.zero() || isCancelled()) {
            if (gai_cancel(&query->request) == EAI_NOTCANCELED) {
                leaveBehind(std::move(query));
            }
            return {{}, L"the name service did not answer in time"};
        }
        const timespec limit{0, static_cast<long>(std::chrono::nanoseconds(wait).count())};
        gai_suspend(requests, 1, &limit);
    }
#endif
    if (status != 0) {
        return {{}, describeFailure(status)};
    }
    LookupResult result;
    for (const addrinfo* found = query->request.ar_result; found != nullptr; found = found->ai_next) {
        tcp::endpoint endpoint;
        if (found->ai_addrlen <= endpoint.capacity()) {
            std::copy_n(reinterpret_cast<const char*>(found->ai_addr), found->ai_addrlen,
                        reinterpret_cast<char*>(endpoint.data()));
            endpoint.resize(found->ai_addrlen);
            endpoint.port(port);
            result.endpoints.push_back(endpoint);
        }
    }
    if (result.endpoints.empty()) {
        result.failure = L"the host has no address";
    }
    return result;
}
