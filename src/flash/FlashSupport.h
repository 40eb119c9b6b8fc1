// What the flash model's operations share: waits, the beep, word reading from device memory
// and the texts it reports.
#pragma once

#include <tnpackage/flash/TFlash.h>
#include <tnpackage/frame/Messages.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "flash/FlashCommands.h"
#include "storage/media/SpeicherMessages.h"

namespace tn::flash {

inline constexpr std::uint32_t kSectorMask = ~static_cast<std::uint32_t>(TFlash::kSectorSize - 1);

// Command and status values as the pair sees them.
inline constexpr std::uint32_t kUnlockOffset = PairOffset(chip::kUnlockAddress);
inline constexpr std::uint32_t kUnlockOffset2 = PairOffset(chip::kUnlockAddress2);
inline constexpr std::uint16_t kUnlock1 = BothChips(chip::kUnlock1);
inline constexpr std::uint16_t kUnlock2 = BothChips(chip::kUnlock2);
inline constexpr std::uint16_t kEraseSetup = BothChips(chip::kEraseSetup);
inline constexpr std::uint16_t kSectorErase = BothChips(chip::kSectorErase);
inline constexpr std::uint16_t kChipErase = BothChips(chip::kChipErase);
inline constexpr std::uint16_t kDQ7 = BothChips(chip::kDQ7);
inline constexpr std::uint16_t kDQ5 = BothChips(chip::kDQ5);
inline constexpr std::uint16_t kBlank = BothChips(chip::kErased);
// The commands go to offsets inside the sector they address.
static_assert(kUnlockOffset < TFlash::kSectorSize && kUnlockOffset2 < TFlash::kSectorSize);
static_assert(kUnlockOffset % 2 == 0 && kUnlockOffset2 % 2 == 0);  // whole words
inline constexpr int kBeepDuration = 5;

/// FlashDelay, or a busy loop of `count` iterations.
void Delay(int count);
/// FlashBeep, or the platform's beep.
void Beep(int duration);
/// FlashBuffer, made again when a flash object's destructor has freed it.
char* Buffer();

inline std::string Hex(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(value));
    return text;
}

inline void Report(const std::string& text) {
    Warning(storage::Owned(text));
}

inline void WarnUnreachable(std::uint32_t address) {
    Report("Flash: Adresse " + Hex(address) + " liegt in keinem Fenster des Ger\xE4teadressraums");
}

}  // namespace tn::flash
