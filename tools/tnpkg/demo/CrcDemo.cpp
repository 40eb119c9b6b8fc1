// Demo: the package's CRCs on the usual check text.
#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <cstdio>
#include <memory>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

constexpr char kCheck[] = "123456789";
constexpr int kCheckLength = 9;

std::unique_ptr<tn::TPCRC> Build(int width, int polynomial, int mode) {
    const int saved = tn::CRCInsertMode;
    tn::CRCInsertMode = mode;
    auto crc = std::make_unique<tn::TPCRC>(width, polynomial);
    tn::CRCInsertMode = saved;
    return crc;
}

void ShowCrc() {
    Print("check text \"%s\"\n", kCheck);
    tn::InitCRC16();
    Print("CreateCRC16 (XMODEM)            0x%04X\n", tn::CreateCRC16(kCheck, kCheckLength));
    Print("CreateCRC7 (memory-card byte)   0x%02X  (CRC-7 0x%02X, shifted, end bit set)\n",
          tn::CreateCRC7(kCheck, kCheckLength), tn::CreateCRC7(kCheck, kCheckLength) >> 1);
    const auto bzip2 = Build(32, 0x04C11DB7, 0);
    const auto reflected = Build(32, 0x04C11DB7, 1);
    Print("TPCRC(32, 0x04C11DB7) normal    0x%08X  (CRC-32/BZIP2)\n",
          bzip2->Create(kCheck, kCheckLength));
    Print(
        "TPCRC(32, 0x04C11DB7) reflected 0x%08X  (register moves by width - 8: not the"
        " common CRC-32)\n",
        reflected->Create(kCheck, kCheckLength));
    auto hyper = Build(16, 0x1021, 0);
    hyper->Set(0xFFFF, 0);
    Print("CreateHyperstone, start 0xFFFF 0x%04X  (CRC-16/MCRF4XX; CreateHS 0x%04X)\n",
          hyper->CreateHyperstone(kCheck, kCheckLength), hyper->CreateHS(kCheck, kCheckLength));

    // A loaded file that carries its length at offset 12 and its CRC-32 behind that length.
    unsigned char file[36] = "flight recorder";
    constexpr int kLength = 32;
    constexpr int kLengthOffset = 12;
    for (int i = 0; i < 4; ++i) {
        file[kLengthOffset + i] = static_cast<unsigned char>(kLength >> (8 * i));
    }
    const std::uint32_t value = bzip2->Create(file, kLength);
    for (int i = 0; i < 4; ++i)
        file[kLength + i] = static_cast<unsigned char>(value >> (8 * i));
    tn::TPDateiInfo node;
    node.SetBlock(file, sizeof file);
    Print("Check of a %d-byte file with its trailing CRC-32: %s\n", kLength,
          bzip2->Check(&node) ? "true" : "false");
}

const DemoRegistration crc({60, "CRC checksums", ShowCrc});

}  // namespace
}  // namespace tnpkg
