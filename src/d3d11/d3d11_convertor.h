// What other parts of the library (and its tests) may know of the Direct3D 11
// convertor without seeing any Direct3D declaration.
#pragma once

#include "core/convertor.h"

namespace KROCOLOR {

// True when `convertor` is a D3D11Context.
bool isD3D11Convertor(const IConvertor* convertor);

}  // namespace KROCOLOR
