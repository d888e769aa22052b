// KROCuda's NVIDIA driver-version query. On Windows it asks WMI for the
// video controllers; on Linux it reads the NVIDIA kernel module's version and
// names the display devices on the PCI bus. Both keep the same unit (version
// times 100), the same minimum and the same "NVIDIA"/"nvidia" adapter rule.
#include "cuda/driver_version.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <string>

#include "KROColorFunctions.h"

#if defined(_WIN32)
#include <comdef.h>
#include <wbemidl.h>
#if defined(_MSC_VER)  // other toolchains name these libraries at link time
#pragma comment(lib, "wbemuuid.lib")
#pragma comment(lib, "comsuppw.lib")
#endif
#else
#include <dirent.h>
#include <algorithm>
#include <vector>
#endif

namespace KROCOLOR {

namespace {

std::mutex g_versionMutex;

bool namesNvidia(const std::string& name) {
    return name.find("NVIDIA") != std::string::npos || name.find("nvidia") != std::string::npos;
}

#if defined(_WIN32)

bool g_comInitialisedHere = false;
bool g_comSecurityInitialised = false;

std::string narrow(const wchar_t* w) {
    std::string s;
    for (; w && *w; ++w) s.push_back(*w < 128 ? static_cast<char>(*w) : '?');
    return s;
}

bool queryWmi(double& found) {
    IWbemLocator* locator = nullptr;
    IWbemServices* services = nullptr;
    IEnumWbemClassObject* results = nullptr;
    bool matched = false;
    HRESULT hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                  reinterpret_cast<void**>(&locator));
    if (FAILED(hr)) {
        std::printf("CoCreateInstance(WbemLocator) failed: 0x%x\n", static_cast<unsigned>(hr));
        return false;
    }
    hr = locator->ConnectServer(_bstr_t(L"ROOT\\CIMV2"), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &services);
    if (FAILED(hr)) {
        std::printf("ConnectServer failed: 0x%x\n", static_cast<unsigned>(hr));
    } else if (FAILED(hr = CoSetProxyBlanket(services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                             RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                             EOAC_NONE))) {
        std::printf("CoSetProxyBlanket failed: 0x%x\n", static_cast<unsigned>(hr));
    } else if (FAILED(hr = services->ExecQuery(_bstr_t(L"WQL"),
                                               _bstr_t(L"SELECT Name, DriverVersion FROM Win32_VideoController"),
                                               WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                               &results))) {
        std::printf("ExecQuery failed: 0x%x\n", static_cast<unsigned>(hr));
    } else {
        IWbemClassObject* object = nullptr;
        ULONG returned = 0;
        while (!matched && results->Next(WBEM_INFINITE, 1, &object, &returned) == S_OK && returned) {
            VARIANT name, version;
            VariantInit(&name);
            VariantInit(&version);
            object->Get(L"Name", 0, &name, nullptr, nullptr);
            object->Get(L"DriverVersion", 0, &version, nullptr, nullptr);
            const wchar_t* wname = name.vt == VT_BSTR ? name.bstrVal : L"";
            const wchar_t* wversion = version.vt == VT_BSTR ? version.bstrVal : L"";
            std::printf("Adapter: %ls, DriverVersion: %ls\n", wname, wversion);
            if (namesNvidia(narrow(wname))) {
                std::string digits;
                for (char c : narrow(wversion))
                    if (c != '.') digits.push_back(c);
                if (digits.size() > 5) digits = digits.substr(digits.size() - 5);
                std::printf("NVIDIA Driver Version: %s\n", digits.c_str());
                found = std::atof(digits.c_str());
                matched = true;
            }
            VariantClear(&name);
            VariantClear(&version);
            object->Release();
        }
    }
    if (results) results->Release();
    if (services) services->Release();
    locator->Release();
    return matched;
}

#else

std::string readFirstLine(const std::string& path) {
    std::string line;
    if (FILE* f = std::fopen(path.c_str(), "r")) {
        char buffer[512];
        if (std::fgets(buffer, sizeof(buffer), f)) line = buffer;
        std::fclose(f);
    }
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return line;
}

// "NVRM version: NVIDIA UNIX x86_64 Kernel Module  550.54.14  Thu Feb ..."
// gives "550.54.14"; empty when the file or the marker is missing.
std::string moduleVersion(const char* file) {
    const std::string line = readFirstLine(file);
    const size_t marker = line.find("Kernel Module");
    if (marker == std::string::npos) return {};
    size_t begin = line.find_first_not_of(' ', marker + std::strlen("Kernel Module"));
    if (begin == std::string::npos) return {};
    const size_t end = line.find(' ', begin);
    return line.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
}

// Major and minor of "550.54.14" as major x 100 + minor, the minor read as
// the two digits after the point (535.104 gives 53510.4).
bool versionTimes100(const std::string& text, double& out) {
    const size_t dot = text.find('.');
    if (dot == std::string::npos || dot == 0) return false;
    const size_t minorEnd = text.find('.', dot + 1);
    const std::string major = text.substr(0, dot);
    const std::string minor = text.substr(dot + 1, minorEnd == std::string::npos ? std::string::npos : minorEnd - dot - 1);
    if (minor.empty() || major.find_first_not_of("0123456789") != std::string::npos ||
        minor.find_first_not_of("0123456789") != std::string::npos)
        return false;
    double m = std::atof(minor.c_str());
    for (size_t i = 2; i < minor.size(); ++i) m /= 10;
    for (size_t i = minor.size(); i < 2; ++i) m *= 10;
    out = std::atof(major.c_str()) * 100 + m;
    return true;
}

const char* vendorName(unsigned vendor) {
    switch (vendor) {
        case 0x10de: return "NVIDIA";
        case 0x1002: return "AMD";
        case 0x8086: return "Intel";
        case 0x1af4: return "Red Hat VirtIO";
        case 0x1234: return "QEMU";
        case 0x1b36: return "Red Hat QXL";
        case 0x15ad: return "VMware";
        case 0x1a03: return "ASPEED";
        case 0x102b: return "Matrox";
        default: return nullptr;
    }
}

#endif

}  // namespace

#if !defined(_WIN32)
namespace cuda {

bool readLinuxDriverVersion(const char* moduleVersionFile, const char* pciDevicesDir, double& version) {
    std::vector<std::string> devices;
    if (DIR* dir = opendir(pciDevicesDir)) {
        while (dirent* e = readdir(dir))
            if (e->d_name[0] != '.') devices.push_back(e->d_name);
        closedir(dir);
    }
    std::sort(devices.begin(), devices.end());
    const std::string module = moduleVersion(moduleVersionFile);
    for (const std::string& d : devices) {
        const std::string base = std::string(pciDevicesDir) + "/" + d + "/";
        const unsigned long cls = std::strtoul(readFirstLine(base + "class").c_str(), nullptr, 16);
        if ((cls >> 16) != 0x03) continue;  // not a display controller
        const unsigned vendor = static_cast<unsigned>(std::strtoul(readFirstLine(base + "vendor").c_str(), nullptr, 16));
        const unsigned device = static_cast<unsigned>(std::strtoul(readFirstLine(base + "device").c_str(), nullptr, 16));
        char name[96];
        if (const char* v = vendorName(vendor))
            std::snprintf(name, sizeof(name), "%s Device %04x", v, device);
        else
            std::snprintf(name, sizeof(name), "Vendor %04x Device %04x", vendor, device);
        const bool nvidia = namesNvidia(name);
        const std::string driver = nvidia ? module : std::string();
        const std::wstring wname(name, name + std::strlen(name));
        const std::wstring wdriver(driver.begin(), driver.end());
        std::printf("Adapter: %ls, DriverVersion: %ls\n", wname.c_str(), wdriver.c_str());
        if (!nvidia) continue;
        double value = 0;
        if (!versionTimes100(module, value)) return false;
        std::printf("NVIDIA Driver Version: %.0f\n", value);
        version = value;
        return true;
    }
    return false;
}

}  // namespace cuda
#endif

bool KROCuda::getNVIDIADriverVersion(double& out) {
    std::lock_guard<std::mutex> lock(g_versionMutex);
    if (_NVIDIA_DriverVersion != 0) {
        out = _NVIDIA_DriverVersion;
        return true;
    }
    bool result = false;
    double found = 0;
#if defined(_WIN32)
    if (!g_comInitialisedHere) {
        const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        if (FAILED(hr)) {
            std::printf("CoInitializeEx failed: 0x%x\n", static_cast<unsigned>(hr));
            return false;
        }
        g_comInitialisedHere = true;
    }
    bool securityReady = g_comSecurityInitialised;
    if (!securityReady) {
        const HRESULT hr = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                                RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
        if (FAILED(hr) && hr != static_cast<HRESULT>(0x80010119)) {
            std::printf("CoInitializeSecurity failed: 0x%x\n", static_cast<unsigned>(hr));
        } else {
            g_comSecurityInitialised = securityReady = true;
        }
    }
    if (securityReady) {
        try {
            result = queryWmi(found);
        } catch (...) {  // out of memory while reading names: version unknown
            result = false;
        }
    }
    if (g_comInitialisedHere) {
        CoUninitialize();
        g_comInitialisedHere = false;
    }
#else
    // The scan builds strings; running out of memory there means "unknown",
    // never an exception out of an exported operation.
    try {
        result = cuda::readLinuxDriverVersion("/proc/driver/nvidia/version", "/sys/bus/pci/devices", found);
    } catch (...) {
        result = false;
    }
#endif
    if (result) _NVIDIA_DriverVersion = found;
    out = _NVIDIA_DriverVersion;
    return result;
}

}  // namespace KROCOLOR
