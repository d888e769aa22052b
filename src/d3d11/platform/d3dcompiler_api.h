// The HLSL compiler entry point and its blob, with the Windows SDK's names.
// D3DCompile compiles compute shaders with glslang and returns SPIR-V as the
// bytecode; see d3d_compile.cpp for what is modelled.
#pragma once

#include "d3d11/platform/windows_types.h"

struct ID3D10Blob : public IUnknown {
    virtual LPVOID STDMETHODCALLTYPE GetBufferPointer() = 0;
    virtual SIZE_T STDMETHODCALLTYPE GetBufferSize() = 0;
};
typedef ID3D10Blob ID3DBlob;
KRO_DECLARE_IID(ID3D10Blob, 0x8ba5fb08, 0x5195, 0x40e2, 0xac, 0x58, 0x0d, 0x98, 0x9c, 0x3a, 0x01, 0x02);

typedef struct _D3D_SHADER_MACRO {
    LPCSTR Name;
    LPCSTR Definition;
} D3D_SHADER_MACRO;

struct ID3DInclude;

#define D3DCOMPILE_DEBUG (1 << 0)
#define D3DCOMPILE_SKIP_VALIDATION (1 << 1)
#define D3DCOMPILE_SKIP_OPTIMIZATION (1 << 2)
#define D3DCOMPILE_ENABLE_STRICTNESS (1 << 11)

HRESULT WINAPI D3DCompile(LPCVOID pSrcData, SIZE_T SrcDataSize, LPCSTR pSourceName, const D3D_SHADER_MACRO* pDefines,
                          ID3DInclude* pInclude, LPCSTR pEntrypoint, LPCSTR pTarget, UINT Flags1, UINT Flags2,
                          ID3DBlob** ppCode, ID3DBlob** ppErrorMsgs);
