// Reports the findings of readers and conversions, as lines for people or in JSON:
//
//   a.txt:12:5: warning: the number does not fit; the nearest one is taken: mass [number-range]
//   a.chump: offset 28: error: the record extends past its container [record-past-end]
//   a.chump: offset 40: loss: raw bytes are not written as text: body/data [raw-bytes]
//   a.txt: warning: text after a closing quote starts a new tag: and 4,980 more [after-quote]
//
// Lines count from 1, columns in bytes from 1, offsets in bytes from 0. The word in brackets is the
// kind, as --ignore takes it. The first 20 findings of a kind are shown; the others are counted at
// the end, so that a broken file does not flood the terminal.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <string>
#include <vector>

#include "assetdata/TagObserver.h"
#include "tools/va/Run.h"

namespace va::tool {

// Selects the findings that are reported and counted.
struct Heard {
    bool losses = true;
    bool notes = false;
    std::bitset<Vorn::kTagFaultCount> ignored{};
};

// Returns the names of all kinds, for --ignore.
[[nodiscard]] std::span<const std::string_view> FindingKinds();
// Adds the kinds given by --ignore.
void Ignore(Heard& heard, const std::vector<std::string>& kinds);

class FindingReport final : public Vorn::TagObserver {
public:
    // Where findings are written: as messages by commands that convert, as the answer by `check`.
    enum class To { Talk, Answer };

    // Reports on the input `name`. `run` must outlive the report.
    FindingReport(Run& run, const std::string& name, To to, Heard heard = {});
    // Calls Finish.
    ~FindingReport() override;
    FindingReport(const FindingReport&) = delete;
    FindingReport& operator=(const FindingReport&) = delete;

    void OnFinding(const Vorn::TagFinding& finding) override;
    void OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) override;

    // Writes how many findings of each kind were not shown. Call it after the last finding.
    void Finish();

    [[nodiscard]] std::size_t Problems() const { return problems_; }  // errors and warnings
    [[nodiscard]] std::size_t Losses() const { return losses_; }
    [[nodiscard]] std::size_t Notes() const { return notes_; }
    [[nodiscard]] bool HearsLosses() const { return heard_.losses; }
    // Returns LookAt if anything was reported, else Done.
    [[nodiscard]] ExitCode Code() const;

private:
    struct PlacedTag {
        const Vorn::OCSChunk* tag;
        Vorn::TagPlace place;
    };

    [[nodiscard]] bool Hears(Vorn::TagFault fault) const;
    [[nodiscard]] Vorn::TagPlace PlaceOf(const Vorn::TagFinding& finding);
    void WriteObject(const Vorn::TagFinding& finding, const Vorn::TagPlace& place);
    void WriteLine(Vorn::TagFault kind, const std::string& place, const std::string& about);

    Run& run_;
    const std::string name_;
    const To to_;
    const Heard heard_;
    std::size_t problems_ = 0;
    std::size_t losses_ = 0;
    std::size_t notes_ = 0;
    std::array<std::size_t, Vorn::kTagFaultCount> found_{};  // by kind
    // The places of a text's tags, because findings in a tree have only a tag. Most texts have no
    // such finding, so the list is sorted when the first one is reported.
    std::vector<PlacedTag> places_;
    bool placesSorted_ = false;
};

}  // namespace va::tool
