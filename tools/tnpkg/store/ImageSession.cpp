#include "store/ImageSession.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <system_error>

#include "store/ImageLock.h"
#include "store/Journal.h"
#include "store/TestHooks.h"

namespace tnpkg::store {
namespace {

namespace fs = std::filesystem;

fs::path Resolved(const fs::path& image) {
    std::error_code ec;
    fs::path path = fs::exists(image, ec) ? fs::canonical(image, ec) : fs::path();
    if (path.empty() || ec) path = fs::weakly_canonical(image, ec);
    if (ec) path = fs::absolute(image, ec);
    return path;
}

std::string FolderOf(const fs::path& path) {
    const fs::path folder = path.parent_path();
    return folder.empty() ? "." : folder.string();
}

}  // namespace

std::shared_ptr<ImageSession> ImageSession::Open(const fs::path& image,
                                                 const SessionOptions& options,
                                                 std::string& problem) {
    std::shared_ptr<ImageSession> s(new ImageSession());
    s->given_ = image.string();
    s->options_ = options;
    s->path_ = Resolved(image);
    s->journal_ = JournalPath(s->path_);
    const auto kind = options.write ? os::LockKind::Exclusive : os::LockKind::Shared;
    if (!s->OpenFile(problem) || !s->Lock(kind, problem) || !s->RecoverIfNeeded(problem)) {
        return nullptr;
    }
    if (options.write && options.journal && !os::FolderWritable(s->path_.parent_path())) {
        problem = "cannot keep a journal in the folder " + FolderOf(s->path_) +
                  " (not writable); " +
                  "--no-journal writes without one, but then a crash during the write can leave " +
                  s->given_ + " half-written";
        return nullptr;
    }
    s->overlay_ = std::make_unique<Overlay>(s->file_, std::max<std::int64_t>(s->file_.Size(), 0));
    return s;
}

ImageSession::~ImageSession() {
    if (created_ && !committed_) {
        file_.Close();
        std::error_code ec;
        fs::remove(path_, ec);
    }
}

bool ImageSession::OpenFile(std::string& problem) {
    std::error_code ec;
    std::string error;
    if (fs::is_directory(path_, ec)) {
        problem = given_ + " is a folder, not an image";
        return false;
    }
    if (fs::exists(path_, ec)) {
        const auto mode = options_.write ? os::OpenMode::ReadWrite : os::OpenMode::Read;
        if (file_.Open(path_, mode, error)) return true;
        // Whether the file's mode, its folder's or a read-only medium refused, the user's fix
        // is the same.
        os::File probe;
        std::string ignored;
        if (options_.write && probe.Open(path_, os::OpenMode::Read, ignored)) {
            problem = given_ + " is read-only";
            return false;
        }
        problem = "cannot open " + given_ + (options_.write ? " for writing: " : ": ") + error;
        return false;
    }
    if (!options_.create) {
        problem = "cannot open " + given_ + ": no such file";
        return false;
    }
    // A journal beside an image that is not there anymore belongs to nothing.
    if (fs::exists(journal_, ec)) fs::remove(journal_, ec);
    if (!file_.Open(path_, os::OpenMode::CreateNew, error)) {
        problem = "cannot create " + given_ + ": " + error;
        return false;
    }
    created_ = true;
    return true;
}

bool ImageSession::Lock(os::LockKind kind, std::string& problem) {
    if (WaitForLock(file_, kind)) return true;
    problem = given_ + " is in use by another tnpkg command";
    return false;
}

// A reader holds a shared lock; recovery needs the image to itself, so the reader lets go,
// waits for the exclusive lock, recovers (unless another command did meanwhile) and goes back
// to a shared lock.
bool ImageSession::RecoverIfNeeded(std::string& problem) {
    std::error_code ec;
    if (!fs::exists(journal_, ec)) return true;
    if (options_.write) return Recover(problem);
    file_.Unlock();
    if (!Lock(os::LockKind::Exclusive, problem)) return false;
    const bool recovered = !fs::exists(journal_, ec) || Recover(problem);
    file_.Unlock();
    return recovered && Lock(os::LockKind::Shared, problem);
}

bool ImageSession::Recover(std::string& problem) {
    os::File journal;
    std::string error;
    if (!journal.Open(journal_, os::OpenMode::Read, error)) {
        problem = "cannot read the journal " + journal_.string() + " of " + given_ + ": " + error;
        return false;
    }
    JournalContent content;
    const JournalState state = ReadJournal(journal, content);
    journal.Close();
    const std::string cannot = given_ + " has the journal " + journal_.string() +
                               " of an interrupted tnpkg command, which cannot be played back: ";
    if (!os::FolderWritable(path_.parent_path())) {
        problem = cannot + "the folder " + FolderOf(path_) + " is not writable";
        return false;
    }
    if (state == JournalState::Complete) {
        os::File writable;
        os::File& image = options_.write ? file_ : writable;
        if (!options_.write && !writable.Open(path_, os::OpenMode::ReadWrite, error)) {
            problem = cannot + error;
            return false;
        }
        if (!PlayBack(image, content)) {
            problem = cannot + "writing " + given_ + " failed: " + os::LastError();
            return false;
        }
        recovery_ = "rolled back an interrupted tnpkg command";
    } else {
        recovery_ =
            "removed the incomplete journal of an interrupted tnpkg command, which had "
            "not changed the image yet";
    }
    std::error_code ec;
    fs::remove(journal_, ec);
    if (ec) {
        problem = cannot + "it cannot be removed: " + ec.message();
        return false;
    }
    os::SyncFolder(path_.parent_path());
    std::fprintf(stderr, "tnpkg: recovered %s: %s\n", given_.c_str(), recovery_.c_str());
    if (state == JournalState::Complete && content.createdImage) {
        // The interrupted command was making this image; there was none before it.
        file_.Close();
        fs::remove(path_, ec);
        problem = given_ + " was being created by the interrupted command and is removed";
        return false;
    }
    return true;
}

bool ImageSession::WriteInPlace(const std::vector<std::int64_t>& pages) {
    const std::int64_t length = overlay_->Size();
    if (length != overlay_->BaseSize() && !file_.Resize(length)) return false;
    long written = 0;
    for (const std::int64_t offset : pages) {
        const auto n = static_cast<std::size_t>(std::min(Overlay::kPageSize, length - offset));
        if (!file_.WriteAt(offset, overlay_->PageAt(offset).after.data(), n)) return false;
        CrashPoint(CrashHook::AfterPages, ++written);
    }
    if (!file_.Sync()) return false;
    return !created_ || os::SyncFolder(path_.parent_path());
}

bool ImageSession::Commit(std::string& problem) {
    if (!overlay_->Changed()) {
        committed_ = true;
        return true;
    }
    const std::vector<std::int64_t> pages = overlay_->ChangedPages();
    JournalContent content;
    content.oldLength = overlay_->BaseSize();
    content.newLength = overlay_->Size();
    content.createdImage = created_;
    // Old bytes of every page that changes, and of every page a shorter image cuts off.
    std::set<std::int64_t> saved;
    for (const std::int64_t offset : pages) {
        if (offset < content.oldLength) saved.insert(offset);
    }
    const std::int64_t cut = content.newLength - content.newLength % Overlay::kPageSize;
    for (std::int64_t offset = cut; offset < content.oldLength; offset += Overlay::kPageSize)
        saved.insert(offset);
    if (options_.journal) {
        for (const std::int64_t offset : saved) {
            Overlay::PageBytes old{};
            if (!overlay_->ReadImage(offset, old.data(), old.size())) {
                problem = "cannot read " + given_ + ": " + os::LastError();
                return false;
            }
            content.pages.push_back(offset);
            content.oldBytes.insert(content.oldBytes.end(), old.begin(), old.end());
        }
        if (!WriteJournal(journal_, content, problem)) return false;
        CrashPoint(CrashHook::AfterPages, 0);
    }
    if (!WriteInPlace(pages)) {
        const std::string error = os::LastError();
        if (!options_.journal) {
            problem = "writing " + given_ + " failed (" + error +
                      "); without a journal it may now be half-written";
            return false;
        }
        if (!PlayBack(file_, content)) {
            problem = "writing " + given_ + " failed (" + error + "); the journal " +
                      journal_.string() + " rolls it back at the next tnpkg command";
            return false;
        }
        std::error_code ec;
        fs::remove(journal_, ec);
        problem = "writing " + given_ + " failed: " + error;
        return false;
    }
    if (options_.journal) {
        std::error_code ec;
        fs::remove(journal_, ec);
        // A journal left behind would undo this command at the next one: better undo it now.
        if (ec || !os::SyncFolder(path_.parent_path())) {
            PlayBack(file_, content);
            problem = "cannot remove the journal " + journal_.string() + ": " + ec.message();
            return false;
        }
    }
    committed_ = true;
    return true;
}

}  // namespace tnpkg::store
