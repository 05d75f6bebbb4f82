// A new archive file that gets its name when it is whole.
//
// Until then it has no name, or, where the system cannot do that, a hidden one beside its place:
// however the process ends, nothing half-written has the name that was asked for. One that is not
// published vanishes with the object. Only a killed process may leave a hidden file; the next one
// that makes the same archive removes it. One thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/Appender.h"
#include "archive/Reader.h"

namespace archive {

class NewArchive {
public:
    // Begins an archive that is to become `path`. Throws Error: CannotWrite, NoSpace.
    NewArchive(std::string path, std::uint32_t buildVersion, std::uint32_t productCode);
    ~NewArchive() = default;
    NewArchive(const NewArchive&) = delete;
    NewArchive& operator=(const NewArchive&) = delete;

    // Returns the hidden files of killed runs with the same place, which were removed.
    [[nodiscard]] const std::vector<std::string>& Abandoned() const { return abandoned_; }

    // Takes its members; not after Finish.
    [[nodiscard]] Appender& Members() { return *members_; }

    // Gives the file, which has a header so far, to a caller that writes members, index and header
    // itself; Members() is gone then.
    [[nodiscard]] platform::FileHandle& WriteWithoutMembers() {
        members_.reset();
        return file_;
    }

    // For reading what was written: up to Members().Appeared(), and all after Finish.
    [[nodiscard]] const platform::FileHandle& File() const {
        return reader_ ? reader_->File() : file_;
    }

    // Announces how many members will follow.
    void Reserve(std::size_t members) { contents_.members.Reserve(members); }

    // Writes the index and forces the file to the storage device. Throws Error.
    void Finish();
    // Finishes the archive unless that was done, and opens it for reading, so that it can be judged
    // before it is published. Throws Error.
    const Reader& Complete();

    // Gives a finished archive its name. With `replace` it takes the place and the permissions of a
    // file, or the place of a link; without, whatever has the name stays, and Error (Refused) is
    // thrown. Also throws CannotWrite.
    void Publish(bool replace);

private:
    // The name of the file before it is published; empty when it has none.
    struct HiddenName {
        ~HiddenName();
        std::string path;
    };

    void OpenHidden();
    [[nodiscard]] bool MoveOver(const platform::FileHandle& file);

    const std::string path_;
    const std::vector<std::string> abandoned_;
    HiddenName hidden_;
    platform::FileHandle file_;  // until Complete, which gives it to the reader
    Contents contents_;
    std::optional<Appender> members_;
    bool finished_ = false;
    std::optional<Reader> reader_;
};

}  // namespace archive
