// A stream over the kernel's file object.
//
// An owned File is destroyed with the stream. A borrowed one is instead moved back over the
// read-ahead, so that its position is where the reader stopped. The File's misuse exceptions
// (FileEx) pass through.
#pragma once

#include <memory>

#include "KernelStandard/File.h"
#include "assetdata/TStream.h"

namespace Vorn {

class TFile final : public TStream {
public:
    // Makes a stream without a file: reads and writes return 0 and set the error flag.
    TFile() = default;
    explicit TFile(File& borrowed) : file_(&borrowed) {}
    explicit TFile(std::unique_ptr<File> owned) : owned_(std::move(owned)), file_(owned_.get()) {}
    ~TFile() override;

    // Opens the file's name again, for writing from the start. The name is that of the file system,
    // so a member of an archive cannot be truncated. Success clears the error flag.
    bool Truncate() override;
    [[nodiscard]] std::uint32_t Tell() const override;
    [[nodiscard]] bool IsOpen() const override { return file_ && file_->IsOpen(); }
    std::uint32_t Write(const void* bytes, std::uint32_t count) override;
    std::uint32_t ReadRaw(void* bytes, std::uint32_t count) override;
    bool Seek(std::int64_t offset, SeekFrom origin) override;
    [[nodiscard]] bool IsEOF() override;

    // Returns whether a read or write was short, or an operation found no open file.
    [[nodiscard]] bool HasError() const { return error_; }

    // Releases the file: destroys it or moves it back, as the destructor does.
    void Close();

private:
    std::unique_ptr<File> owned_;
    File* file_ = nullptr;
    bool error_ = false;
};

}  // namespace Vorn
