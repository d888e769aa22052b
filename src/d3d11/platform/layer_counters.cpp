#include "d3d11/platform/layer_counters.h"

#include <atomic>

namespace kro_d3d11 {

namespace {
std::atomic<uint64_t> gCreated[static_cast<int>(ObjectKind::Count)];
}

LayerCounters layerCounters() {
    LayerCounters counters{};
    for (int i = 0; i < static_cast<int>(ObjectKind::Count); ++i) counters.created[i] = gCreated[i].load();
    return counters;
}

void countCreated(ObjectKind kind) { ++gCreated[static_cast<int>(kind)]; }

}  // namespace kro_d3d11
