// The Win32 and COM vocabulary that the Direct3D 11 layer and its users need
// on Linux: the basic typedefs, HRESULT values, GUIDs, IUnknown, and the
// performance counter and Sleep used by the bounded GPU wait. Names, values
// and signatures are those of the Windows SDK, so code written against them
// compiles unchanged on Windows, where the real headers are used instead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

typedef int32_t HRESULT;
typedef int BOOL;
typedef uint8_t BYTE;
typedef uint32_t UINT;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef uint64_t UINT64;
typedef int64_t LONGLONG;
typedef unsigned long ULONG;
typedef size_t SIZE_T;
typedef void* HANDLE;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef const char* LPCSTR;
// Windows' WCHAR is a 16-bit UTF-16 unit; wchar_t is 32 bits here.
typedef char16_t WCHAR;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif
#define STDMETHODCALLTYPE
#define WINAPI

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001L)
#define E_NOINTERFACE ((HRESULT)0x80004002L)
#define E_POINTER ((HRESULT)0x80004003L)
#define E_FAIL ((HRESULT)0x80004005L)
#define E_OUTOFMEMORY ((HRESULT)0x8007000EL)
#define E_INVALIDARG ((HRESULT)0x80070057L)
#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)

typedef union _LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER;

typedef struct _LUID {
    DWORD LowPart;
    LONG HighPart;
} LUID;

typedef struct _GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;
typedef GUID IID;
#define REFIID const IID&

inline bool operator==(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

// Windows finds an interface's IID with __uuidof; here each interface names
// its IID through this trait (KRO_DECLARE_IID after the interface).
template <class Interface>
struct KROInterfaceId;
#define KRO_DECLARE_IID(type, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)             \
    template <>                                                                   \
    struct KROInterfaceId<type> {                                                 \
        static constexpr IID value = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}; \
    }

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};
KRO_DECLARE_IID(IUnknown, 0x00000000, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46);

template <class T>
void** IID_PPV_ARGS_Helper(T** pp) {
    return reinterpret_cast<void**>(pp);
}
#define IID_PPV_ARGS(ppType)                                                                   \
    KROInterfaceId<std::remove_pointer_t<std::remove_pointer_t<decltype(ppType)>>>::value, \
        IID_PPV_ARGS_Helper(ppType)

// Performance counter (nanoseconds of a monotonic clock) and Sleep.
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
void Sleep(DWORD milliseconds);
