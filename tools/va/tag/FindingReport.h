// Reports to a person, or in JSON, what readers and conversions found, one line each:
//
//   a.txt:12:5: warning: the number does not fit; the nearest one is taken: mass [number-range]
//   a.chump: offset 28: error: the record extends past its container [record-past-end]
//   a.chump: offset 40: loss: raw bytes are not written as text: body/data [raw-bytes]
//   a.txt: warning: text after a closing quote starts a new tag: and 4,980 more [after-quote]
//
// Lines count from 1, columns in bytes from 1, offsets in bytes from 0. The word in brackets is the
// kind, by which findings are ignored. The first 20 findings of a kind are shown, the others
// counted at the end.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <string>
#include <vector>

#include "assetdata/TagObserver.h"
#include "tools/va/Run.h"

namespace va::tool {

// Which findings count.
struct Heard {
    bool losses = true;
    bool notes = false;
    std::bitset<Vorn::kTagFaultCount> ignored{};
};

// Returns the names of all kinds, for --ignore.
[[nodiscard]] std::span<const std::string_view> FindingKinds();
// Adds the kinds that --ignore was given.
void Ignore(Heard& heard, const std::vector<std::string>& kinds);

class FindingReport final : public Vorn::TagObserver {
public:
    // Where findings are written: a command that converts talks of them; for `check` they are the
    // answer.
    enum class To { Talk, Answer };

    // `run` must outlive the report, which is about the input `name`.
    FindingReport(Run& run, const std::string& name, To to, Heard heard = {});
    // Finishes.
    ~FindingReport() override;
    FindingReport(const FindingReport&) = delete;
    FindingReport& operator=(const FindingReport&) = delete;

    void OnFinding(const Vorn::TagFinding& finding) override;
    void OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) override;

    // Writes how many findings of each kind were not shown. Nothing is reported after that.
    void Finish();

    [[nodiscard]] std::size_t Problems() const { return problems_; }  // errors and warnings
    [[nodiscard]] std::size_t Losses() const { return losses_; }
    [[nodiscard]] std::size_t Notes() const { return notes_; }
    [[nodiscard]] bool HearsLosses() const { return heard_.losses; }
    // Returns LookAt once anything was reported, else Done.
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
    // The tags of a text: findings in a tree know their tag only. Most texts have no such finding,
    // so the list is sorted when the first one comes.
    std::vector<PlacedTag> places_;
    bool placesSorted_ = false;
};

}  // namespace va::tool
