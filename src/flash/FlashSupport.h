// What the flash model's operations share: waits, the beep, word reading from device memory
// and the texts it reports.
#pragma once

#include <tnpackage/flash/TFlash.h>
#include <tnpackage/frame/Messages.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "storage/SpeicherMessages.h"

namespace tn::flash {

// Command and status values, doubled into both chips' bytes.
inline constexpr std::uint32_t kSectorMask = ~static_cast<std::uint32_t>(TFlash::kSectorSize - 1);
inline constexpr std::uint32_t kUnlockOffset = 0xAAAA;   // word 0x5555
inline constexpr std::uint32_t kUnlockOffset2 = 0x5554;  // word 0x2AAA
inline constexpr std::uint16_t kUnlock1 = 0xAAAA;
inline constexpr std::uint16_t kUnlock2 = 0x5555;
inline constexpr std::uint16_t kEraseSetup = 0x8080;
inline constexpr std::uint16_t kSectorErase = 0x3030;
inline constexpr std::uint16_t kChipErase = 0x1010;
inline constexpr std::uint16_t kDQ7 = 0x8080;
inline constexpr std::uint16_t kDQ5 = 0x2020;
inline constexpr std::uint16_t kBlank = 0xFFFF;
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
