#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>

using Deadline = std::optional<std::chrono::steady_clock::time_point>;  // none: without limit

/// The endpoints of a host, in the order in which they should be tried; with
/// none, `failure` says why in words that do not depend on the locale.
struct LookupResult {
    std::vector<asio::ip::tcp::endpoint> endpoints;
    std::wstring failure;
};

/// Numeric addresses and "localhost" are answered on the spot. Other names go
/// to the system's resolver, whose own limits may be long: after the deadline,
/// or soon after `isCancelled` becomes true, it is left to finish by itself in
/// a thread of the C library, and this call returns.
LookupResult lookUp(const std::string& host, std::uint16_t port, Deadline deadline,
                    const std::function<bool()>& isCancelled);
