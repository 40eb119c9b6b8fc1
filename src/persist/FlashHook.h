// How a record in the instrument's flash is deleted in place. The flash model installs a word
// programmer here while a flash object exists; without it, deleting changes nothing.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>

namespace tn::detail {

/// Programs one 16-bit word at a device address; true when the flash accepted it.
using FlashWordProgrammer = bool (*)(std::uint32_t deviceAddress, std::uint16_t word);

/// Set by the flash unit while the package's flash object exists, null otherwise. Exported so
/// that tests can stand in for the flash.
TN_EXPORT extern constinit FlashWordProgrammer flashWordProgrammer;

}  // namespace tn::detail
