// `tnpkg fat label`: shows, sets or clears the volume label. As mlabel does, the label lives in
// two places: an entry of the root (attribute 0x08) and, on volumes whose boot sector has the
// extended fields, the boot sector's label field.
#include <tnpackage/text/Encodings.h>

#include <cstring>

#include "cli/Output.h"
#include "cli/Warnings.h"
#include "fat/EntrySets.h"
#include "fat/FatCommand.h"
#include "fat/HostNames.h"
#include "storage/fat/FatLayout.h"
#include "util/LittleEndian.h"

namespace tnpkg {
namespace {

constexpr std::size_t kLabelBytes = tn::fat::kBootVolumeLabelLength;
constexpr std::int64_t kBootExtendedSignature = tn::fat::kBootExtendedSignature;
constexpr std::int64_t kBootLabel = tn::fat::kBootVolumeLabel;
// What the boot sector holds when the volume has no label.
constexpr const char* kNoName = tn::fat::kNoNameLabel;

tn::TPDirEintrag* LabelEntry(MountedImage& m) {
    auto* root = m.Volume().Root;
    for (int i = 0; i < root->Count(); ++i) {
        tn::TPDirEintrag* e = root->Eintrag(i);
        if (e != nullptr && e->IsVolumeLabel()) return e;
    }
    return nullptr;
}

bool HasBootLabel(MountedImage& m) {
    unsigned char signature = 0;
    return m.Session()->Changes().Read(m.Where().base + kBootExtendedSignature, &signature, 1) &&
           signature == tn::fat::kExtendedSignature;
}

std::string BootLabel(MountedImage& m) {
    char field[kLabelBytes] = {};
    if (!m.Session()->Changes().Read(m.Where().base + kBootLabel, field, kLabelBytes)) return {};
    return std::string(field, kLabelBytes);
}

// The root's label entry: renamed in place, written into a free slot, or deleted (`label`
// empty). False when the root has no free slot.
bool WriteLabelEntry(MountedImage& w, const std::string& padded, bool clear) {
    tn::TPVolumeFAT& v = w.Volume();
    tn::TPDirEintrag* existing = LabelEntry(w);
    if (existing != nullptr) {
        // mlabel gives a mixed-case label long-name pieces; they go with the old name.
        std::vector<std::int64_t> set = EntrySetAddresses(v, *existing);
        if (set.empty()) set.push_back(static_cast<std::uint32_t>(existing->EntryAddress));
        if (!clear) set.pop_back();
        MarkDeleted(v, set);
        if (clear) return true;
        std::string name = padded;
        v.Write(existing->EntryAddress, name.data(), static_cast<int>(kLabelBytes));
        return true;
    }
    if (clear) return true;
    const std::int64_t slot = v.FindEntrySlots(v.Root, 1);
    if (slot == 0) return false;
    unsigned char entry[tn::TPDirEintrag::kEntrySize] = {};
    std::memcpy(entry, padded.data(), kLabelBytes);
    entry[kEntryAttributes] = kLabelAttribute;
    const std::uint32_t now = tn::TPDateTime(0, tn::PDateTimeFlag::DateTime).FileDate();
    tn::WriteLE32(entry + kEntryTime, now);
    v.Write(static_cast<int>(slot), reinterpret_cast<char*>(entry), tn::TPDirEintrag::kEntrySize);
    return true;
}

int Show(FatRequest& r) {
    const auto m = MountRequested(r);
    if (!m) return kFailure;
    const std::string label = VolumeLabel(*m);
    Print("%s\n", label.empty() ? "(none)" : tn::Win1252ToUtf8(label).c_str());
    return kSuccess;
}

int Set(FatRequest& r, const std::string& label, bool clear) {
    std::unique_ptr<MountedImage> m;
    if (!PrepareFatWrite(r, m)) return kFailure;
    MountedImage& w = *m;
    const std::string unchanged = r.image + " was left unchanged";
    std::string padded = label;
    padded.resize(kLabelBytes, ' ');
    const WarningCapture warnings("tnpkg fat: while writing the image");
    if (!WriteLabelEntry(w, padded, clear)) {
        return FatFail("the root folder has no free entry for the label; " + unchanged);
    }
    const bool boot = HasBootLabel(w);
    const std::string bootField = clear ? std::string(kNoName) : padded;
    if (boot &&
        !w.Session()->Changes().Write(w.Where().base + kBootLabel, bootField.data(), kLabelBytes)) {
        return FatFail("cannot write the boot sector; " + unchanged);
    }
    if (!w.Flush() || warnings.Count() > 0) return FatFail(unchanged);

    MountedImage check(w.Session(), w.Where(), false);
    const tn::TPDirEintrag* entry = check.Problem().empty() ? LabelEntry(check) : nullptr;
    const bool entryRight =
        clear ? check.Problem().empty() && entry == nullptr
              : entry != nullptr && std::memcmp(entry->Entry, padded.data(), kLabelBytes) == 0;
    if (!entryRight || (boot && BootLabel(check) != bootField)) {
        return FatFail("the label does not read back as written; " + unchanged);
    }
    return CommitFatWrite(r, *w.Session());
}

}  // namespace

int FatLabel(FatRequest& r) {
    const bool clear = r.args.Flag("--clear");
    if (r.operands.empty() && !clear) return Show(r);
    if (!r.operands.empty() && clear) return FatUsage("give either a NAME or --clear");
    bool lossy = false;
    std::string label = clear ? std::string() : FromUtf8(r.operands[0], lossy, '\x7F');
    const std::string problem = tn::CheckVolumeLabel(label);
    if (!problem.empty()) return FatUsage(problem);
    if (!clear && label.empty()) return FatUsage("an empty label: --clear removes the label");
    return Set(r, label, clear);
}

}  // namespace tnpkg
