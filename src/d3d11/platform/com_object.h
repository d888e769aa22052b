// Reference counting and QueryInterface shared by every object of the layer.
#pragma once

#include <atomic>

#include "d3d11/platform/windows_types.h"

namespace kro_d3d11 {

// True when riid names one of the interfaces listed.
template <class... Interfaces>
bool isOneOf(REFIID riid) {
    return ((riid == KROInterfaceId<Interfaces>::value) || ...);
}

// Implements IUnknown for an object whose identity is `Interface`. Objects
// start with one reference, owned by whoever created them.
template <class Interface>
class ComObject : public Interface {
public:
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
        if (!out) return E_POINTER;
        *out = queryInterface(riid);
        return *out ? S_OK : E_NOINTERFACE;
    }
    virtual ~ComObject() = default;

protected:
    // The object (with a reference for the caller) answering riid, or null.
    virtual void* queryInterface(REFIID riid) = 0;
    void* self() {
        AddRef();
        return static_cast<Interface*>(this);
    }

private:
    std::atomic<ULONG> refs_{1};
};

}  // namespace kro_d3d11
