// A small option scanner: each sub-command declares the options it takes;
// "--name value", "--name=value" and short "-x value" forms are accepted,
// everything else is positional. Unknown options are usage errors.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace krocolor {

struct OptionSpec {
    const char* longName;   // without "--"
    const char* shortName;  // without "-", or nullptr
    bool takesValue;
};

class Args {
public:
    // argv[first..argc) are scanned. Throws CliError on unknown options or
    // a missing value.
    Args(int argc, char** argv, int first, const std::vector<OptionSpec>& specs);

    bool has(const std::string& longName) const { return values_.count(longName) != 0; }
    // Last value given (options may repeat; later wins).
    std::string value(const std::string& longName, const std::string& fallback = "") const;
    const std::vector<std::string>& all(const std::string& longName) const;
    const std::vector<std::string>& positional() const { return positional_; }

private:
    std::map<std::string, std::vector<std::string>> values_;
    std::vector<std::string> positional_;
};

// Value parsers shared by the sub-commands; each throws a usage CliError
// naming the option on bad input.
int parseIntOption(const std::string& option, const std::string& text, int minValue, int maxValue);
void parseSize(const std::string& option, const std::string& text, int& width, int& height);
double parseNumber(const std::string& option, const std::string& text);

}  // namespace krocolor
