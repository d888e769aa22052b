#include "args.h"

#include <cerrno>
#include <cstdlib>

#include "cli_error.h"
#include "pixel_formats.h"

namespace krocolor {

Args::Args(int argc, char** argv, int first, const std::vector<OptionSpec>& specs) {
    bool onlyPositional = false;
    for (int i = first; i < argc; ++i) {
        const std::string arg = argv[i];
        if (onlyPositional || arg.size() < 2 || arg[0] != '-' ||
            (arg[1] >= '0' && arg[1] <= '9') || arg[1] == '.') {
            positional_.push_back(arg);  // includes "-" and negative numbers
            continue;
        }
        if (arg == "--") {
            onlyPositional = true;
            continue;
        }
        std::string name = arg, inlineValue;
        bool hasInline = false;
        const OptionSpec* option = nullptr;
        if (arg.compare(0, 2, "--") == 0) {
            name = arg.substr(2);
            const size_t eq = name.find('=');
            if (eq != std::string::npos) {
                inlineValue = name.substr(eq + 1);
                name = name.substr(0, eq);
                hasInline = true;
            }
            for (const auto& s : specs)
                if (name == s.longName) option = &s;
        } else {
            name = arg.substr(1);
            for (const auto& s : specs)
                if (s.shortName && name == s.shortName) option = &s;
        }
        if (!option) usageError("unknown option " + arg);
        std::string value;
        if (option->takesValue) {
            if (hasInline) {
                value = inlineValue;
            } else {
                if (i + 1 >= argc) usageError("option " + arg + " needs a value");
                value = argv[++i];
            }
        } else if (hasInline) {
            usageError("option --" + std::string(option->longName) + " takes no value");
        }
        values_[option->longName].push_back(value);
    }
}

std::string Args::value(const std::string& longName, const std::string& fallback) const {
    auto it = values_.find(longName);
    return it == values_.end() || it->second.empty() ? fallback : it->second.back();
}

const std::vector<std::string>& Args::all(const std::string& longName) const {
    static const std::vector<std::string> kNone;
    auto it = values_.find(longName);
    return it == values_.end() ? kNone : it->second;
}

int parseIntOption(const std::string& option, const std::string& text, int minValue, int maxValue) {
    char* end = nullptr;
    errno = 0;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || v < minValue || v > maxValue)
        usageError(option + ": '" + text + "' is not a whole number from " + std::to_string(minValue) + " to " +
                   std::to_string(maxValue));
    return static_cast<int>(v);
}

void parseSize(const std::string& option, const std::string& text, int& width, int& height) {
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos) usageError(option + ": '" + text + "' is not a size WxH");
    const std::string w = text.substr(0, x), h = text.substr(x + 1);
    char* end = nullptr;
    const long wv = std::strtol(w.c_str(), &end, 10);
    const bool wOk = !w.empty() && *end == '\0';
    const long hv = std::strtol(h.c_str(), &end, 10);
    const bool hOk = !h.empty() && *end == '\0';
    if (!wOk || !hOk) usageError(option + ": '" + text + "' is not a size WxH");
    if (wv < 1 || hv < 1 || wv > kMaxSide || hv > kMaxSide)
        usageError(option + ": size " + text + " is impossible (each side must be 1 to " + std::to_string(kMaxSide) +
                   ")");
    width = static_cast<int>(wv);
    height = static_cast<int>(hv);
}

double parseNumber(const std::string& option, const std::string& text) {
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0') usageError(option + ": '" + text + "' is not a number");
    return v;
}

}  // namespace krocolor
