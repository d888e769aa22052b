// Failures inside the command line travel as one exception type carrying the
// one-line message for standard error and the exit status.
#pragma once

#include <stdexcept>
#include <string>

#include <KROColorFunctions.h>

namespace krocolor {

// Exit statuses: 0 success, 1 a conversion or file failed, 2 the command
// line itself is wrong (unknown option, name or value).
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

class CliError : public std::runtime_error {
public:
    CliError(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
    int status() const { return status_; }

private:
    int status_;
};

[[noreturn]] inline void usageError(const std::string& message) { throw CliError(kExitUsage, message); }
[[noreturn]] inline void failure(const std::string& message) { throw CliError(kExitFailure, message); }

// "<what>: <library message> (KROReturn <code>)".
[[noreturn]] inline void libraryFailure(const std::string& what, KROCOLOR::KROReturn code) {
    throw CliError(kExitFailure, what + ": " + KROCOLOR::queryKROReturn(code) + " (KROReturn " +
                                     std::to_string(static_cast<int>(code)) + ")");
}

}  // namespace krocolor
