// Profiles the ICC tests share: the two embedded ones, every profile of the
// Debian collections installed under /usr/share/color/icc (icc-profiles-free,
// colord-data), and parsing with the table priorities of the ICC path.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "icc/icc_engine.h"

namespace KROCOLOR {
namespace test {

using ProfileBytes = std::vector<uint8_t>;

inline ProfileBytes embeddedP3() {
    const uint8_t* p = KROColorFunctions::getDisplayP3ICCProfile();
    return ProfileBytes(p, p + KROColorFunctions::getDisplayP3ICCProfileSize());
}

inline ProfileBytes embeddedAdobe() {
    const uint8_t* p = KROColorFunctions::getAdobeRGBICCProfile();
    return ProfileBytes(p, p + KROColorFunctions::getAdobeRGBICCProfileSize());
}

// The ICC path tries the A2B0/B2A0 tables first, then A2B1/B2A1.
inline bool parseAsThePathDoes(const ProfileBytes& bytes, ICCProfile* profile) {
    static const int kPriorities[2] = {0, 1};
    return parseICCProfile(bytes.data(), bytes.size(), kPriorities, 2, profile);
}

struct InstalledProfile {
    std::string path;  // below /usr/share/color/icc
    ProfileBytes bytes;
};

// Sorted by path; empty when neither collection is installed.
inline std::vector<InstalledProfile> installedProfiles() {
    const std::filesystem::path root = "/usr/share/color/icc";
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (auto it = std::filesystem::recursive_directory_iterator(root, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
        std::string ext = it->path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), ::tolower);
        if (it->is_regular_file() && (ext == ".icc" || ext == ".icm")) files.push_back(it->path());
    }
    std::sort(files.begin(), files.end());
    std::vector<InstalledProfile> profiles;
    for (const auto& file : files) {
        std::ifstream in(file, std::ios::binary);
        profiles.push_back({std::filesystem::relative(file, root).string(),
                            ProfileBytes(std::istreambuf_iterator<char>(in), {})});
    }
    return profiles;
}

}  // namespace test
}  // namespace KROCOLOR
