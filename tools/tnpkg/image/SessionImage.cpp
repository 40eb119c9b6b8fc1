#include "image/SessionImage.h"

#include <cstring>

namespace tnpkg {

namespace {
void Ignore(tn::TPString) {}
}  // namespace

SessionImage::~SessionImage() {
    if (!folder_) return;
    // The object's final save goes into the private folder and serves nothing: a warning
    // about it must not make a committed command look failed.
    const tn::TPWarningHook previous = tn::OnWarning;
    tn::OnWarning = &Ignore;
    image_.reset();
    tn::OnWarning = previous;
    tn::SpeicherPfad = savedFolder_;
}

bool SessionImage::Open(const std::filesystem::path& path, const store::SessionOptions& options,
                        std::string& problem) {
    session_ = store::ImageSession::Open(path, options, problem);
    return session_ != nullptr;
}

std::int64_t SessionImage::FileSize() const {
    return session_->Changes().Size();
}

bool SessionImage::Load(int size, std::string& problem) {
    folder_ = std::make_unique<store::PrivateFolder>("image");
    if (!folder_->Ready()) {
        problem = "cannot make a working folder for the image";
        return false;
    }
    savedFolder_ = tn::SpeicherPfad;
    tn::SpeicherPfad = folder_->Path().string().c_str();
    image_ = std::make_unique<tn::TPImageSpeicher>("image", size);
    before_.resize(static_cast<std::size_t>(size));
    if (image_->Buffer == nullptr || image_->Size != size ||
        !session_->Changes().Read(0, before_.data(), before_.size())) {
        problem = "cannot read " + session_->Name();
        return false;
    }
    std::memcpy(image_->Buffer, before_.data(), before_.size());
    return true;
}

bool SessionImage::Commit(std::string& problem) {
    store::Overlay& overlay = session_->Changes();
    const auto page = static_cast<std::size_t>(store::Overlay::kPageSize);
    const char* after = image_->Buffer;
    for (std::size_t at = 0; at < before_.size(); at += page) {
        const std::size_t n = std::min(page, before_.size() - at);
        if (std::memcmp(before_.data() + at, after + at, n) == 0) continue;
        if (!overlay.Write(static_cast<std::int64_t>(at), after + at, n)) {
            problem = "cannot hold the changes of " + session_->Name();
            return false;
        }
    }
    std::vector<char> back(before_.size());
    if (!overlay.Read(0, back.data(), back.size()) ||
        std::memcmp(back.data(), after, back.size()) != 0) {
        problem = "the changes of " + session_->Name() + " do not read back";
        return false;
    }
    return session_->Commit(problem);
}

}  // namespace tnpkg
