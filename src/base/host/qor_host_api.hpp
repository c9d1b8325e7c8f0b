// The operations that the default platform defines. The contract carries no export marks, since
// every platform defines the same names in its own way; this one exports exactly what it declares.
#pragma once

#pragma GCC visibility push(default)
#include "qor_host.h"  // IWYU pragma: export
#pragma GCC visibility pop
