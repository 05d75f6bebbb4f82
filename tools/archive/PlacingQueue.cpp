#include "tools/archive/PlacingQueue.h"

#include <algorithm>
#include <span>
#include <system_error>
#include <utility>

namespace Vorn {
namespace {

template <typename Batch>
[[nodiscard]] auto Waiting(Batch& batch) {
    return std::span(batch.files).subspan(batch.first, batch.end - batch.first);
}

}  // namespace

PlacingQueue::PlacingQueue(Step place, Step report)
    : place_(std::move(place)), report_(std::move(report)) {}

PlacingQueue::~PlacingQueue() {
    if (!thread_.joinable()) return;
    AwaitThread();
    turn_.store(Turn::Ending);
    turn_.notify_one();
    thread_.join();
}

ExtractedFile& PlacingQueue::Next() {
    if (filling_->end == kBatchFiles) filling_->first = filling_->end = 0;
    return filling_->files[filling_->end];
}

void PlacingQueue::Add() {
    ++filling_->end;
    if (filling_->end == kBatchFiles) HandOver();
}

void PlacingQueue::HandOver() {
    StartThread();
    if (!thread_.joinable()) return Drain();
    AwaitThread();
    Report(*placing_);
    std::swap(filling_, placing_);
    turn_.store(Turn::Placing);
    turn_.notify_one();
}

// The files that were not handed over are placed here: waking the thread for them costs more.
void PlacingQueue::Drain() {
    AwaitThread();
    Report(*placing_);
    Place(*filling_);
    Report(*filling_);
}

bool PlacingQueue::IsEmpty() const {
    return Waiting(*filling_).empty() && Waiting(*placing_).empty();
}

bool PlacingQueue::Holds(std::string_view path) const {
    const auto isThere = [&](const ExtractedFile& file) { return file.place.path == path; };
    return std::ranges::any_of(Waiting(*filling_), isThere) ||
           std::ranges::any_of(Waiting(*placing_), isThere);
}

void PlacingQueue::AwaitThread() const { turn_.wait(Turn::Placing); }

void PlacingQueue::StartThread() {
    if (!std::exchange(mayStart_, false) || std::thread::hardware_concurrency() == 1) return;
    try {
        thread_ = std::thread([this] { RunThread(); });
    } catch (const std::system_error&) {
        // One thread does all of the work then.
    }
}

void PlacingQueue::RunThread() {
    for (;;) {
        turn_.wait(Turn::Idle);
        if (turn_.load() == Turn::Ending) return;
        Place(*placing_);
        turn_.store(Turn::Idle);
        turn_.notify_one();
    }
}

void PlacingQueue::Place(Batch& batch) const {
    for (ExtractedFile& file : Waiting(batch)) {
        if (file.problem.empty()) place_(file);
    }
}

void PlacingQueue::Report(Batch& batch) const {
    for (ExtractedFile& file : Waiting(batch)) {
        report_(file);
        file.file.GiveUp();
        file.line.clear();
        file.warnings.clear();
        file.problem.clear();
        file.place.folder.reset();
    }
    batch.first = batch.end;
}

}  // namespace Vorn
