// Compiled on its own: the public header needs nothing but itself.
#include "KROColorFunctions.h"

int headerOnlyProbe() { return KROCOLOR::kKROSuccess; }
