// How many objects of each kind the layer has created in this process, for
// tests that check a caller reuses its objects instead of remaking them.
#pragma once

#include <cstdint>

namespace kro_d3d11 {

enum class ObjectKind { Texture, View, Buffer, ComputeShader, Query, Count };

struct LayerCounters {
    uint64_t created[static_cast<int>(ObjectKind::Count)];
    uint64_t of(ObjectKind kind) const { return created[static_cast<int>(kind)]; }
};

LayerCounters layerCounters();
void countCreated(ObjectKind kind);

}  // namespace kro_d3d11
