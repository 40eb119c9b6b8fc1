// Demo: persistent records, the save list, and string lists.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

// A record class of a host program: its fields follow the header, so it is its own record.
struct Waypoint : tn::TPSaveObject {
    std::int32_t latitude;
    std::int32_t longitude;
    Waypoint(std::int32_t lat, std::int32_t lon)
        : tn::TPSaveObject(40, 24, 1), latitude(lat), longitude(lon) {
        Stride = Size;
    }
};

void PrintBytes(const unsigned char* p, int n) {
    for (int i = 0; i < n; ++i)
        Print("%02X%s", p[i], i + 1 < n ? " " : "\n");
}

class Counter : public tn::TPSaveList {
  public:
    int AddData(tn::TPSaveObject* r) override {
        Print("  found type %u at device 0x%08X, checksum %s\n", r->Type,
              tn::DeviceAddressSpace::ToDevice(r).value_or(0),
              r->CheckSumValid() ? "valid" : "invalid");
        return 1;
    }
};

void ShowRecords() {
    using namespace tn;
    constexpr std::uint32_t kBase = 0x00100000;
    std::vector<unsigned char> image(256, 0xFF);  // erased flash
    DeviceAddressSpace::Map(kBase, image.data(), static_cast<std::uint32_t>(image.size()));
    const TPWriter writer = [&](int address, char byte) {
        image[static_cast<std::uint32_t>(address) - kBase] = static_cast<unsigned char>(byte);
    };

    Waypoint home(479'166'667, 119'833'333);
    Waypoint turn(480'500'000, 115'000'000);
    int address = static_cast<int>(kBase);
    home.Save(address, writer);
    turn.Save(address, writer);
    Print("a 24-byte record, saved byte by byte at device 0x%08X:\n  ", kBase);
    PrintBytes(image.data(), 24);
    Print("checksum (CRC-16 of the payload) 0x%04X, live: %s\n", home.CheckSum,
          home.Deleted() ? "yes" : "no");

    Print("state ladder: 0x7FFF -> delete -> 0x%04X -> reactivate -> 0x%04X\n",
          DeleteSaveObject(0x7FFF), [] {
              TPSaveObject o;
              o.State = DeleteSaveObject(0x7FFF);
              o.ReAktiv();
              return o.State;
          }());

    TPSaveList list;
    list.Add(image.data());
    list.Add(image.data() + 24);
    list.Save(address, writer);
    Print("save list: table of 2 device addresses, record says table at 0x%08X\n",
          list.TableAddress);

    Print("scanning the image for live records:\n");
    Counter counter;
    counter.LoadRegion(image.data(), image.size(), 1);
    DeviceAddressSpace::Unmap(kBase);
}

void ShowStringLists() {
    using namespace tn;
    TPStringList fields(" a , b ,", ',');
    Print("\" a , b ,\" split at ',': %d fields, joined with '|': %s\n", fields.Count,
          fields.Text("|").c_str());
    TPStringList plain("a,,b", ',');
    TPStringList runs("a,,b", ',', true);
    Print("\"a,,b\": Set gives %d fields, SetExt gives %d\n", plain.Count, runs.Count);
    TPStringList line("HFDTE 150624", ' ', true);
    TPStringTable table;
    table.AddLine(line);
    line.Set("Flugplatz;Unterw\xF6ssen", ';');
    table.AddLine(line);
    Print("table: %s\n", ToUtf8(table.Text("=", " / ")).c_str());
}

const DemoRegistration records({70, "Persistent records", ShowRecords});
const DemoRegistration lists({75, "String lists", ShowStringLists});

}  // namespace
}  // namespace tnpkg
