// Where the NVIDIA display-driver version comes from on Linux: the kernel
// module's version file and the display-class devices on the PCI bus. The
// paths are parameters so the parsing can be exercised on prepared folders.
#pragma once

namespace KROCOLOR {
namespace cuda {

// Prints one "Adapter: ..., DriverVersion: ..." line per display device up
// to the first NVIDIA one; for that one stores the module version times 100
// (550.54.14 gives 55054) in `version` and returns true. False when no
// NVIDIA adapter or no module version is found.
bool readLinuxDriverVersion(const char* moduleVersionFile, const char* pciDevicesDir, double& version);

}  // namespace cuda
}  // namespace KROCOLOR
