#include "archive/Check.h"

#include <algorithm>
#include <deque>
#include <exception>
#include <functional>
#include <thread>
#include <vector>

#include "archive/CheckMeter.h"
#include "archive/CheckOrder.h"
#include "archive/CheckWorker.h"

namespace archive {

namespace {

// Runs `work(0)` on this thread and the others up to `work(count - 1)` beside it; throws what one
// of them threw, which stops the others.
void InThreads(unsigned count, CheckMeter& meter, const std::function<void(unsigned)>& work) {
    std::vector<std::exception_ptr> thrown(count);
    const auto guarded = [&](unsigned i, const auto& run) {
        try {
            run();
        } catch (...) {
            thrown[i] = std::current_exception();
            meter.Stop();
        }
    };
    meter.Start(count - 1);
    {
        std::vector<std::jthread> threads;
        for (unsigned i = 1; i < count; ++i) {
            threads.emplace_back([&, i] {
                guarded(i, [&] { work(i); });
                meter.Finish();
            });
        }
        guarded(0, [&] {
            work(0);
            meter.ReportUntilFinished();
        });
    }
    for (const std::exception_ptr& exception : thrown) {
        if (exception) std::rethrow_exception(exception);
    }
}

void CountBytes(const Contents& contents, Judgement& judgement) {
    for (MemberTable::Ordinal i = 0; i < contents.members.End(); ++i) {
        const Member member = contents.members[i];
        ++judgement.members;
        judgement.contentBytes += member.size;
        judgement.storedBytes += member.storedSize;
    }
    const std::uint64_t index =
        contents.indexEnd == 0 ? 0 : contents.indexEnd - contents.header.indexOffset;
    const std::uint64_t live =
        contents.headerEnd + judgement.members * kMemberPrefixSize + judgement.storedBytes + index;
    judgement.deadBytes = contents.fileSize - std::min(contents.fileSize, live);
}

}  // namespace

Judgement Check(const Reader& reader, const CheckOptions& options) {
    const unsigned count = std::max(options.workers, 1U);
    const CheckOrder order(reader.All());
    CheckRuns runs(order);
    CheckMeter meter(options.progress, reader.All().fileSize);
    std::deque<CheckWorker> workers;
    for (unsigned i = 0; i < count; ++i) {
        workers.emplace_back(reader, order, options, meter, i == 0);
    }
    InThreads(count, meter, [&](unsigned i) { workers[i].Work(runs); });
    // What belongs to no member is judged by one more, so that its findings rise too.
    workers.emplace_back(reader, order, options, meter, true);
    workers.back().JudgeIndex();
    workers.back().JudgeEnd();
    meter.ReportAll();

    Judgement judgement;
    judgement.cancelled = meter.Stopped();
    for (CheckWorker& worker : workers) worker.Found().MoveInto(judgement);
    std::ranges::stable_sort(judgement.findings, {}, &Finding::offset);
    if (judgement.findings.size() > options.findings) judgement.findings.resize(options.findings);
    CountBytes(reader.All(), judgement);
    return judgement;
}

}  // namespace archive
