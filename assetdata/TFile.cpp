#include "assetdata/TFile.h"

#include <string>

namespace Vorn {

TFile::~TFile() { Close(); }

void TFile::Close() {
    // The owner of a borrowed file continues where the stream's reader was.
    if (!owned_ && IsOpen()) DiscardReadAhead();
    EmptyBuffer();
    owned_.reset();
    file_ = nullptr;
}

bool TFile::Truncate() {
    if (!IsOpen() || file_->IsMember()) {
        error_ = true;
        return false;
    }
    EmptyBuffer();
    const std::string name = file_->Name();
    (void)file_->Close();
    error_ = file_->Open(InternedString(), name.c_str(), kWritePlain | kCreateOrTruncate) != RES_OK;
    return !error_;
}

std::uint32_t TFile::Tell() const { return IsOpen() ? file_->Tell() - Unread() : 0; }

std::uint32_t TFile::Write(const void* bytes, std::uint32_t count) {
    DiscardReadAhead();
    const std::uint32_t written = IsOpen() ? file_->Write(bytes, count) : 0;
    if (written != count || !IsOpen()) error_ = true;
    return written;
}

std::uint32_t TFile::ReadRaw(void* bytes, std::uint32_t count) {
    const std::uint32_t read = IsOpen() ? file_->Read(bytes, count) : 0;
    if (read != count || !IsOpen()) error_ = true;
    return read;
}

bool TFile::Seek(std::int64_t offset, SeekFrom origin) {
    if (!IsOpen()) {
        error_ = true;
        return false;
    }
    if (origin == SeekFrom::Current) offset -= Unread();
    if (file_->Seek(offset, origin) == kFailedSeek) return false;
    EmptyBuffer();
    return true;
}

bool TFile::IsEOF() { return !IsOpen() || (Unread() == 0 && file_->Tell() >= file_->Size()); }

}  // namespace Vorn
