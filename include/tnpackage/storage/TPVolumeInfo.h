// The node of a volume's label entry (attribute 0x08).
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/storage/TPDirEintrag.h>

namespace tn {

class TN_EXPORT TPVolumeInfo : public TPDirEintrag {
  public:
    /// The label found on the medium: the 32 entry bytes and their medium address.
    TPVolumeInfo(TPVerzeichnisInfo* parent, unsigned char* entry, int address);
    TPString Text(TPString prefix) override;
};

}  // namespace tn
