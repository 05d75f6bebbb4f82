#include "tools/va/tag/TreeDiff.h"

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <vector>

#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "tools/va/tag/TagPath.h"

namespace va::tool {
namespace {

using Kind = TagDifference::Kind;

bool IsContainer(const Vorn::OCSChunk& tag) { return tag.GetType() == Vorn::kTagContainer; }

bool HasSameValue(const Vorn::OCSChunk& a, const Vorn::OCSChunk& b) {
    if (a.GetType() != b.GetType()) return false;
    // Readers stop at the zero byte of a text, so the bytes after it do not count.
    if (a.GetType() == Vorn::kTagText) {
        return Vorn::TextOf(a.DataBytes()) == Vorn::TextOf(b.DataBytes());
    }
    return std::ranges::equal(a.DataBytes(), b.DataBytes());
}

class Differ {
public:
    Differ(bool folded, const std::function<void(const TagDifference&)>& report)
        : folded_(folded), report_(report) {}

    std::size_t Run(const Vorn::OCSChunkRef& a, const Vorn::OCSChunkRef& b) {
        Enter(a, b, 0);
        while (!open_.empty()) {
            Pair& pair = open_.back();
            if (pair.next < pair.matches.size()) {
                VisitChild(pair.next++);
            } else {
                Leave();
            }
        }
        return same_;
    }

private:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    // Two containers that are being compared.
    struct Pair {
        Vorn::OCSChunkRef a;
        Vorn::OCSChunkRef b;
        std::vector<std::uint32_t> matches;  // of the children of A: the child of B, or kNone
        std::vector<bool> taken;             // children of B that a child of A matches
        std::uint32_t next = 0;
        std::size_t pathBefore = 0;  // the length of the path without this container's name
    };

    [[nodiscard]] std::string KeyOf(std::string_view name) const {
        return folded_ ? Vorn::FoldTagName(name) : std::string(name);
    }

    void Enter(const Vorn::OCSChunkRef& a, const Vorn::OCSChunkRef& b, std::size_t pathBefore) {
        Pair pair{a, b, {}, {}, 0, pathBefore};
        std::unordered_map<std::string, std::deque<std::uint32_t>> unmatched;
        for (std::uint32_t i = 0; i < b->ChildCount(); ++i) {
            unmatched[KeyOf(b->ChildAt(i).name)].push_back(i);
        }
        pair.taken.resize(b->ChildCount());
        for (std::uint32_t i = 0; i < a->ChildCount(); ++i) {
            const auto found = unmatched.find(KeyOf(a->ChildAt(i).name));
            const bool isMatched = found != unmatched.end() && !found->second.empty();
            pair.matches.push_back(isMatched ? found->second.front() : kNone);
            if (!isMatched) continue;
            pair.taken[found->second.front()] = true;
            found->second.pop_front();
        }
        ReportOrder(pair);
        open_.push_back(std::move(pair));
    }

    void ReportOrder(const Pair& pair) {
        std::vector<std::uint32_t> order;
        std::ranges::remove_copy(pair.matches, std::back_inserter(order), kNone);
        if (!std::ranges::is_sorted(order)) {
            report_({Kind::Reordered, path_, pair.a.Get(), pair.b.Get()});
        }
    }

    void VisitChild(std::uint32_t index) {
        const Pair& pair = open_.back();
        const Vorn::NamedChild child = pair.a->ChildAt(index);
        const std::size_t pathBefore = path_.size();
        AppendName(path_, child.name);
        if (pair.matches[index] == kNone) {
            report_({Kind::Removed, path_, child.child.Get(), nullptr});
        } else {
            const Vorn::OCSChunkRef other = pair.b->ChildAt(pair.matches[index]).child;
            if (IsContainer(*child.child) && IsContainer(*other)) {
                ++same_;
                return Enter(child.child, other, pathBefore);
            }
            if (HasSameValue(*child.child, *other)) {
                ++same_;
            } else {
                report_({Kind::Changed, path_, child.child.Get(), other.Get()});
            }
        }
        path_.resize(pathBefore);
    }

    void Leave() {
        const Pair pair = std::move(open_.back());
        open_.pop_back();
        const std::size_t path = path_.size();
        for (std::uint32_t i = 0; i < pair.taken.size(); ++i) {
            if (pair.taken[i]) continue;
            const Vorn::NamedChild child = pair.b->ChildAt(i);
            AppendName(path_, child.name);
            report_({Kind::Added, path_, nullptr, child.child.Get()});
            path_.resize(path);
        }
        path_.resize(pair.pathBefore);
    }

    const bool folded_;
    const std::function<void(const TagDifference&)>& report_;
    std::deque<Pair> open_;  // outermost first; not recursion, since files may nest without limit
    std::string path_;
    std::size_t same_ = 0;
};

}  // namespace

std::size_t DiffTags(const Vorn::OCSChunkRef& a, const Vorn::OCSChunkRef& b, bool folded,
                     const std::function<void(const TagDifference&)>& report) {
    return Differ(folded, report).Run(a, b);
}

}  // namespace va::tool
