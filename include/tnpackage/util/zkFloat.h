// The package's floating type for intermediate results: extended precision where the platform
// has it (x86 long double), double elsewhere.
#pragma once

namespace tn {

using zkFloat = long double;

}  // namespace tn
