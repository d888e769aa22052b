// The colour constants that the GPU programs include, read back from the
// checked-in program text and compared value by value with the CPU's
// color_constants.h. The up-to-date test (gpu_constants_up_to_date) proves
// the files are what the generator prints; this one proves that what it
// prints means the same numbers in each language: CUDA doubles exactly, every
// other constant as the same float, GLSL matrices column by column.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "color/gpu_constant_list.h"

using namespace KROCOLOR;

namespace {

// The text of a program file without its // comments.
std::string readCode(const std::string& path) {
    std::ifstream is(path, std::ios::binary);
    std::string code, line;
    while (std::getline(is, line)) code += line.substr(0, line.find("//")) + "\n";
    return code;
}

bool isWordChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Every "kName = values;" or "kName[9] = values;" declaration of a program
// text, with the numeric literals of its value in order (a float suffix and
// identifiers such as mat3 are skipped).
std::map<std::string, std::vector<double>> declarations(const std::string& text) {
    std::map<std::string, std::vector<double>> out;
    size_t pos = 0;
    while ((pos = text.find('=', pos)) != std::string::npos) {
        size_t nameEnd = pos;
        while (nameEnd > 0 && text[nameEnd - 1] == ' ') --nameEnd;
        if (nameEnd > 0 && text[nameEnd - 1] == ']') nameEnd = text.rfind('[', nameEnd);  // CUDA "[9]"
        size_t nameStart = nameEnd;
        while (nameStart > 0 && isWordChar(text[nameStart - 1])) --nameStart;
        const size_t end = text.find(';', pos);
        const std::string name = text.substr(nameStart, nameEnd - nameStart);
        if (name.size() > 1 && name[0] == 'k' && end != std::string::npos) {
            std::vector<double>& values = out[name];
            for (size_t i = pos + 1; i < end;) {
                if (std::isalpha(static_cast<unsigned char>(text[i])) || text[i] == '_') {  // mat3, 1.0f's f
                    while (i < end && isWordChar(text[i])) ++i;
                } else if (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '-' || text[i] == '.') {
                    char* stop = nullptr;
                    values.push_back(std::strtod(text.c_str() + i, &stop));
                    i = static_cast<size_t>(stop - text.c_str());
                    if (i < end && text[i] == 'f') ++i;
                } else {
                    ++i;
                }
            }
        }
        pos = end == std::string::npos ? text.size() : pos + 1;
    }
    return out;
}

}  // namespace

namespace KROCOLOR::gpu {
void PrintTo(const GeneratedFile& f, std::ostream* os) { *os << f.path; }
}  // namespace KROCOLOR::gpu

namespace {

class GpuConstants : public ::testing::TestWithParam<gpu::GeneratedFile> {};

TEST_P(GpuConstants, ProgramTextHoldsTheHostValues) {
    const gpu::GeneratedFile& f = GetParam();
    const auto decl = declarations(readCode(std::string(KRO_SOURCE_DIR) + "/src/" + f.path));
    ASSERT_EQ(decl.size(), std::size(gpu::kMatrices) + std::size(gpu::kScalars)) << f.path;

    for (const gpu::NamedMatrix& m : gpu::kMatrices) {
        const auto it = decl.find(m.name);
        ASSERT_NE(it, decl.end()) << f.path << ": " << m.name;
        ASSERT_EQ(it->second.size(), 9u) << f.path << ": " << m.name;
        for (int i = 0; i < 9; ++i) {
            // GLSL's mat3 constructor takes columns.
            const int row = f.language == gpu::Language::Glsl ? i % 3 : i / 3;
            const int col = f.language == gpu::Language::Glsl ? i / 3 : i % 3;
            EXPECT_EQ(static_cast<float>(it->second[i]), m.value->m[row][col]) << f.path << ": " << m.name << " " << i;
        }
    }
    for (const gpu::NamedScalar& s : gpu::kScalars) {
        const auto it = decl.find(s.name);
        ASSERT_NE(it, decl.end()) << f.path << ": " << s.name;
        ASSERT_EQ(it->second.size(), 1u) << f.path << ": " << s.name;
        if (f.language == gpu::Language::Cuda && !s.single)
            EXPECT_EQ(it->second[0], s.value) << f.path << ": " << s.name;
        else
            EXPECT_EQ(static_cast<float>(it->second[0]), static_cast<float>(s.value)) << f.path << ": " << s.name;
    }
}

std::string languageName(const ::testing::TestParamInfo<gpu::GeneratedFile>& info) {
    const char* names[] = {"Cuda", "Hlsl", "Glsl"};  // in the order of gpu::Language
    return names[static_cast<int>(info.param.language)];
}

INSTANTIATE_TEST_SUITE_P(Languages, GpuConstants, ::testing::ValuesIn(gpu::kGeneratedFiles), languageName);

}  // namespace
