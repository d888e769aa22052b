// A one-line progress bar on standard error, shown only when standard error
// is a terminal and --quiet was not given.
#pragma once

#include <cstdint>

namespace krocolor {

class Progress {
public:
    Progress(int64_t total, bool quiet);  // total <= 0: unknown
    ~Progress();
    void update(int64_t done);
    void finish();

private:
    int64_t total_;
    bool enabled_;
    bool drawn_ = false;
};

}  // namespace krocolor
