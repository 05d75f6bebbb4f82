// The extracted files that wait for their names.
//
// Most of the time that a small file takes is the system's, and half of that is writing, linking
// and closing it. A second thread does this for batches of files, while the first one reads members
// and creates the next files. Files get their names, and are reported, in the order in which they
// were added.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/NewFile.h"
#include "tools/archive/Destination.h"
#include "tools/archive/ToolCommand.h"

namespace Vorn {

// What is to be printed of a member, and the file that it becomes.
struct ExtractedFile {
    const ToolFileRecord* record = nullptr;
    std::string line;                   // for standard output, without its end
    std::vector<std::string> warnings;  // for standard error
    std::string problem;                // empty if all went well; else there is no file
    Destination::Place place;
    platform::NewFile file;
    std::vector<std::byte> content;  // all of it, if it is not written yet
    bool isWritten = false;
};

// Runs two steps for each file: `place` on either thread, then `report` on the caller's. The steps
// of different files never overlap, except that `report` may run beside `place` of later ones. One
// thread uses it.
class PlacingQueue {
public:
    using Step = std::function<void(ExtractedFile&)>;

    PlacingQueue(Step place, Step report);
    // Files that were not placed vanish.
    ~PlacingQueue();
    PlacingQueue(const PlacingQueue&) = delete;
    PlacingQueue& operator=(const PlacingQueue&) = delete;

    // Returns the next file to be filled, empty. It stays the same until Add.
    [[nodiscard]] ExtractedFile& Next();
    // Adds the file that Next returned.
    void Add();
    // Returns when every file that was added is placed and reported.
    void Drain();

    [[nodiscard]] bool IsEmpty() const;
    // Returns whether a file with this folded path waits.
    [[nodiscard]] bool Holds(std::string_view path) const;

private:
    // Enough files to pay for waking a thread. Each holds up to two descriptors, of which a process
    // may have 1024.
    static constexpr std::size_t kBatchFiles = 32;

    struct Batch {
        std::array<ExtractedFile, kBatchFiles> files;
        std::size_t first = 0;  // the files that wait are those from `first` to `end` - 1
        std::size_t end = 0;
    };
    enum class Turn { Idle, Placing, Ending };  // of the second thread

    void HandOver();
    void AwaitThread() const;
    void StartThread();
    void RunThread();
    void Place(Batch& batch) const;
    void Report(Batch& batch) const;

    const Step place_;
    const Step report_;
    std::unique_ptr<Batch> filling_ = std::make_unique<Batch>();
    std::unique_ptr<Batch> placing_ = std::make_unique<Batch>();  // its owner goes by `turn_`
    std::atomic<Turn> turn_ = Turn::Idle;
    bool mayStart_ = true;
    std::thread thread_;  // started with the first full batch
};

}  // namespace Vorn
