// A stream over the kernel's file object.
//
// An owned File is destroyed with the stream; a borrowed one is moved back instead, so that its
// position is where the reader stopped. The File's misuse exceptions (FileEx) pass through.
#pragma once

#include <memory>

#include "KernelStandard/File.h"
#include "assetdata/TStream.h"

namespace Vorn {

class TFile final : public TStream {
public:
    // No file: reads and writes give 0 and set the error flag.
    TFile() = default;
    explicit TFile(File& borrowed) : file_(&borrowed) {}
    explicit TFile(std::unique_ptr<File> owned) : owned_(std::move(owned)), file_(owned_.get()) {}
    ~TFile() override;

    // Opens the file's name anew, for writing from the start. The name is the one that the file
    // system knows, so a member of an archive cannot be truncated. Success clears the error flag.
    bool Truncate() override;
    [[nodiscard]] std::uint32_t Tell() const override;
    [[nodiscard]] bool IsOpen() const override { return file_ && file_->IsOpen(); }
    std::uint32_t Write(const void* bytes, std::uint32_t count) override;
    std::uint32_t ReadRaw(void* bytes, std::uint32_t count) override;
    bool Seek(std::int64_t offset, SeekFrom origin) override;
    [[nodiscard]] bool IsEOF() override;

    // A read or write was short, or there was no open file to read, write, seek in or truncate.
    [[nodiscard]] bool HasError() const { return error_; }

    // Lets go of the file: destroys or moves it as the destructor does.
    void Close();

private:
    std::unique_ptr<File> owned_;
    File* file_ = nullptr;
    bool error_ = false;
};

}  // namespace Vorn
