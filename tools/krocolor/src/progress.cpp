#include "progress.h"

#include <cstdio>
#include <unistd.h>

namespace krocolor {

Progress::Progress(int64_t total, bool quiet) : total_(total), enabled_(!quiet && isatty(STDERR_FILENO)) {}

Progress::~Progress() { finish(); }

void Progress::update(int64_t done) {
    if (!enabled_) return;
    drawn_ = true;
    if (total_ > 0) {
        constexpr int kWidth = 30;
        const int64_t clamped = done > total_ ? total_ : done;
        const int filled = static_cast<int>(clamped * kWidth / total_);
        char bar[kWidth + 1];
        for (int i = 0; i < kWidth; ++i) bar[i] = i < filled ? '#' : '.';
        bar[kWidth] = '\0';
        std::fprintf(stderr, "\r[%s] frame %lld/%lld", bar, static_cast<long long>(done),
                     static_cast<long long>(total_));
    } else {
        std::fprintf(stderr, "\rframe %lld", static_cast<long long>(done));
    }
    std::fflush(stderr);
}

void Progress::finish() {
    if (enabled_ && drawn_) std::fputc('\n', stderr);
    drawn_ = false;
}

}  // namespace krocolor
