#include <tnpackage/storage/TPDateiInfo.h>

namespace tn {

void TPDateiInfo::SetBlock(const void* block, int length) {
    block_ = static_cast<const unsigned char*>(block);
    blockLength_ = block_ != nullptr && length > 0 ? length : 0;
}

}  // namespace tn
