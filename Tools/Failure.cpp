#include "Tools/Failure.h"

namespace Tool {

namespace {

const char* kind(ExitStatus status) {
    switch (status) {
        case ExitStatus::done:
            return "none";
        case ExitStatus::deviceError:
            return "device";
        case ExitStatus::usage:
            return "usage";
        case ExitStatus::notConnected:
            return "connection";
        case ExitStatus::timedOut:
            return "timeout";
        case ExitStatus::brokenProtocol:
            return "protocol";
        case ExitStatus::someFailed:
            return "some";
        case ExitStatus::cannotWrite:
            return "output";
        case ExitStatus::interrupted:
            return "interrupted";
    }
    return "unknown";
}

}  // namespace

void refuseUsage(const std::string& message) {
    throw FailureException({ExitStatus::usage, message});
}

Json::Value toJson(const Failure& failure) {
    Json::Value json(Json::objectValue);
    json["kind"] = kind(failure.status);
    json["message"] = failure.message;
    json["exitStatus"] = static_cast<int>(failure.status);
    if (failure.status == ExitStatus::deviceError) {
        json["code"] = failure.code;
        if (!failure.data.isNull()) {
            json["data"] = failure.data;
        }
    }
    return json;
}

}  // namespace Tool
