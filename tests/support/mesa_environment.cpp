// How the test processes meet Mesa's software drivers (llvmpipe behind
// EGL/GLES, lavapipe behind the Direct3D 11 layer).
#include <cstdlib>

namespace {

// Set before any driver loads, and only where the caller has not chosen:
// - software rendering, because the GL tests' tolerances are llvmpipe's
//   (how it rounds halves and weighs bilinear texels), and a machine with a
//   render node would otherwise hand the surfaceless display to its GPU;
// - no shader disk cache, so every run compiles the programs it tests (a
//   cache left by an earlier build cannot hide a compile failure), and no
//   cache-writer thread is still busy when the process exits.
struct MesaEnvironment {
    MesaEnvironment() {
        setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
        setenv("MESA_SHADER_CACHE_DISABLE", "true", 0);
    }
} g_mesaEnvironment;

}  // namespace

// LeakSanitizer reads its default suppressions from this hook. llvmpipe and
// lavapipe keep memory of the shader variants they compile with LLVM
// (reached only from JIT-compiled code, which the sanitizer does not scan)
// past the destruction of their programs and pipelines. Those blocks are
// allocated inside the drivers and LLVM, so only stacks through them are
// suppressed, never memory our own code allocates.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libvulkan_lvp.so\nleak:libLLVM-15.so\nleak:_dri.so\nleak:libEGL_mesa.so\nleak:libglapi.so\n";
}
