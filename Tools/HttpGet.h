#pragma once

#include <cstddef>
#include <string>

namespace Tool {

/// What is at the URL (http alone), up to so many bytes. Throws FailureException:
/// cannot connect, timed out, or another answer than 200.
std::string httpGet(const std::string& url, int timeoutMs, std::size_t mostBytes);

}  // namespace Tool
