// A FILE* that closes itself, so that readers which fail half-way through
// their constructor release what they opened.
#pragma once

#include <cstdio>
#include <memory>

namespace krocolor {

struct FileCloser {
    void operator()(FILE* f) const {
        if (f) std::fclose(f);
    }
};
using FileHandle = std::unique_ptr<FILE, FileCloser>;

}  // namespace krocolor
