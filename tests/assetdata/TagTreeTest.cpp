#include "assetdata/TBuffer.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagLosses.h"
#include "assetdata/TagText.h"
#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"
#include "tests/KernelStandard/FileLayer.h"
#include "tests/assetdata/TagSamples.h"

namespace Vorn::Testing {
namespace {

OCSChunkRef Number(std::int32_t value) {
    return OCSChunkRef(new TDBDataTag(kTagInteger, MakeIntegers({&value, 1})));
}

std::int32_t ValueOf(const OCSChunkRef& tag) { return tag ? IntegerAt(tag->DataBytes(), 0) : -1; }

// What a container holds: the records of a file, then what was added. A container that comes from
// no file has no records.
struct ContainerModel {
    std::vector<std::pair<std::string, std::int32_t>> pairs;
    std::size_t records = 0;  // the first ones

    [[nodiscard]] std::int32_t Find(const std::string& name) const {
        const auto found = std::ranges::find(pairs, name, &decltype(pairs)::value_type::first);
        return found == pairs.end() ? -1 : found->second;
    }
    [[nodiscard]] std::size_t Of(std::int32_t value) const {
        const auto found = std::ranges::find(pairs, value, &decltype(pairs)::value_type::second);
        return static_cast<std::size_t>(found - pairs.begin());
    }
    // Whether that was a record.
    bool Remove(std::size_t at) {
        if (at < pairs.size()) pairs.erase(pairs.begin() + static_cast<std::ptrdiff_t>(at));
        if (at >= records) return false;
        --records;
        return true;
    }
    void Swap(std::size_t first, std::size_t second) {
        if (second == first) return;
        if (second < first) std::swap(first, second);
        const std::int32_t a = pairs[first].second;
        if (Replace(first, pairs[second].second)) --second;
        Replace(second, a);
    }

private:
    // A record whose child changes goes on among the added children. Whether that was one.
    bool Replace(std::size_t at, std::int32_t by) {
        const std::string name = pairs[at].first;
        if (at >= records) {
            pairs[at].second = by;
            return false;
        }
        pairs.emplace_back(name, by);
        return Remove(at);
    }
};

// Random changes of a container and its model, which agree after each.
class Changing {
public:
    Changing(OCSChunkRef container, ContainerModel model, unsigned seed)
        : container_(std::move(container)), model_(std::move(model)), random_(seed) {}

    void Run(int changes) {
        for (; changes > 0 && !testing::Test::HasFatalFailure(); --changes) {
            Change();
            Compare();
        }
    }

private:
    OCSChunkRef RandomChild() {
        const auto index = random_() % std::max(container_->ChildCount(), 1U);
        return container_->ChildAt(static_cast<std::uint32_t>(index)).child;
    }

    void Change() {
        const auto kind = random_() % 200;
        const OCSChunkRef child = RandomChild();
        const OCSChunkRef other = RandomChild();
        if (kind == 0) {
            container_->Clear();
            model_ = {};
        } else if (kind < 80) {
            Add(Number(next_++));
        } else if (kind < 140) {
            Remove(child);
        } else if (kind < 160 && child) {
            // The same child under another name, mostly out before it comes in again.
            if (kind > 144) Remove(child);
            Add(child);
        } else if (kind < 190 && child) {
            container_->SwapChildren(child, other);
            model_.Swap(model_.Of(ValueOf(child)), model_.Of(ValueOf(other)));
        } else {
            const OCSChunkRef stranger = Number(0);
            container_->SwapChildren(child, stranger);
            container_->RemoveChild(stranger);
            container_->AddChild(Intern("a"), {});
        }
    }
    void Add(const OCSChunkRef& child) {
        const std::string name(1, static_cast<char>('a' + random_() % 7));
        container_->AddChild(Intern(name), child);
        model_.pairs.emplace_back(name, ValueOf(child));
    }
    void Remove(const OCSChunkRef& child) {
        container_->RemoveChild(child);
        model_.Remove(model_.Of(ValueOf(child)));
    }

    void Compare() {
        const auto& pairs = model_.pairs;
        ASSERT_EQ(container_->ChildCount(), pairs.size());
        for (std::uint32_t i = 0; i < pairs.size(); ++i) {
            ASSERT_EQ(container_->ChildName(i).View(), pairs[i].first);
            ASSERT_EQ(ValueOf(container_->ChildAt(i).child), pairs[i].second);
        }
        ASSERT_FALSE(container_->ChildAt(static_cast<std::uint32_t>(pairs.size())).child);
        for (char name = 'a'; name < 'i'; ++name) {
            const std::string text(1, name);
            ASSERT_EQ(ValueOf(container_->FindChild(Intern(text))), model_.Find(text));
        }
    }

    OCSChunkRef container_;
    ContainerModel model_;
    std::mt19937 random_;
    std::int32_t next_ = 1000;
};

TEST(TagContainers, ChangeAsTheirModelsDo) {
    std::mt19937 random(1);
    for (unsigned seed = 1; seed <= 24; ++seed) {
        SCOPED_TRACE(seed);
        ContainerModel model;
        const OCSChunkRef tree = NewTag(kTagContainer);
        const OCSChunkRef fresh = NewTag(kTagContainer);
        for (auto left = random() % (seed % 2 ? 60 : 10) + 1; left > 0; --left) {
            const std::string name(1, static_cast<char>('a' + random() % 7));
            model.pairs.emplace_back(name, static_cast<std::int32_t>(left));
            for (const OCSChunkRef& box : {tree, fresh}) {
                box->AddChild(Intern(name), Number(static_cast<std::int32_t>(left)));
            }
        }
        Changing(tree, model, seed).Run(300);

        const OCSChunkRef outer = NewTag(kTagContainer);
        outer->AddChild(Intern("box"), fresh);
        model.records = model.pairs.size();
        const OCSChunkRef root = ReadChunks(WriteChunks(*outer));
        const OCSChunkRef box = root->FindChild(Intern("box"));
        Changing(box, model, seed).Run(300);
        EXPECT_EQ(Describe(*root->ChildAt(0).child), Describe(*box)) << "one for everyone";
        EXPECT_EQ(Describe(*ReadChunks(WriteChunks(*root))), Describe(*root));
    }
}

TEST(TagContainers, LargeOnesFindTheFirstOfEquals) {
    const OCSChunkRef tree = NewTag(kTagContainer);
    constexpr std::int32_t kNames = 50000;
    std::vector<InternedString> names;
    for (std::int32_t i = 0; i < 2 * kNames; ++i) {
        if (i < kNames) names.push_back(Intern("n" + std::to_string(i)));
        tree->AddChild(names[static_cast<std::size_t>(i % kNames)], Number(i));
    }
    for (const OCSChunkRef& root : {tree, ReadChunks(WriteChunks(*tree))}) {
        std::atomic<int> wrong = 0;
        // The first lookups come from several threads at once.
        InThreads(4, [&](std::size_t) {
            for (std::int32_t i = 0; i < kNames; ++i) {
                const auto found = root->FindChild(names[static_cast<std::size_t>(i)]);
                wrong += ValueOf(found) == i ? 0 : 1;
            }
        });
        EXPECT_EQ(wrong, 0);
        // The second becomes the first, one after the other, from both ends and the middle.
        for (std::int32_t i = 0; i < kNames; i += 2) {
            const InternedString& name = names[static_cast<std::size_t>(i)];
            root->RemoveChild(root->FindChild(name));
            ASSERT_EQ(ValueOf(root->FindChild(name)), i + kNames);
        }
        EXPECT_EQ(root->ChildCount(), static_cast<std::uint32_t>(kNames + kNames / 2));
        EXPECT_EQ(ValueOf(root->ChildAt(0).child), 1);
        EXPECT_EQ(ValueOf(root->ChildAt(kNames - 1).child), kNames + kNames / 2 - 1);
    }
}

TEST(TagContainers, OfAFileDoNotHoldTheFile) {
    struct Ending final : OCSChunk {
        explicit Ending(bool& flag) : ended(flag) {}
        ~Ending() override { ended = true; }
        bool& ended;
    };
    bool ended = false;
    OCSChunkRef root = ReadChunks(WriteChunks(*ReadText("a 1\nb 2\nc {\nd 3\n}")));
    root->AddChild(Intern("e"), OCSChunkRef(new Ending(ended)));
    root->AddChild(Intern("again"), root->FindChild(Intern("c")));
    root->SwapChildren(root->ChildAt(0).child, root->ChildAt(1).child);
    EXPECT_EQ(ValueOf(root->FindChild(Intern("again"))->ChildAt(0).child), 3);
    EXPECT_EQ(ValueOf(root->FindChild(Intern("a"))), 2);
    root = {};
    EXPECT_TRUE(ended) << "what was added ends with the tree";
}

TEST(TagTrees, SurviveBothForms) {
    std::mt19937 random(11);
    int lossless = 0;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const OCSChunkRef tree = RandomTree(random, round % 2 == 0);
        const OCSChunkRef chunks = ReadChunks(WriteChunks(*tree));
        ASSERT_EQ(Describe(*chunks), Describe(*tree));
        const std::string text = WriteText(*tree);
        ASSERT_EQ(WriteText(*chunks), text);
        Findings losses;
        FindTextLosses(*chunks, losses);
        ASSERT_TRUE(round % 2 != 0 || losses.list.empty()) << text;
        if (!losses.list.empty()) continue;
        ++lossless;
        Findings odd;
        ASSERT_EQ(Describe(*ReadText(text, &odd)), Describe(*tree)) << text;
        EXPECT_TRUE(odd.list.empty());
    }
    EXPECT_GE(lossless, 1500);
}

// The examples of both format pages are one tree.
TEST(FormatPages, ShowOneTreeInBothForms) {
    const std::string page = TempFolder().Read(VORN_SOURCE_DIR "/docs/formats/tag-text.md");
    const std::size_t begin = page.find("```tags\n") + 8;
    std::string text;
    for (const char c : page.substr(begin, page.find("```", begin) - begin)) {
        text += c == '\n' ? "\r\n" : std::string(1, c);
    }
    const std::string chunks = ExampleOf("chunk.md");
    EXPECT_EQ(chunks.size(), 138u);
    EXPECT_EQ(WriteChunks(*ReadText(text)), chunks);
    EXPECT_EQ(WriteText(*ReadChunks(chunks)), text);
}

// Too many for the stack, however little of it each took.
constexpr std::uint32_t kLevels = 1'000'000;

std::uint32_t Deepest(const OCSChunk& root) {
    std::size_t deepest = 0;
    for (TagWalk walk(root); walk.Next();) deepest = std::max(deepest, walk.Depth() + 1);
    return static_cast<std::uint32_t>(deepest);
}

TEST(DeepNesting, OfChunkFilesTakesNoStack) {
    std::string file = "OCS$" + U32(1) + U32(0) + U32(6 * std::size_t{kLevels});
    for (std::size_t level = kLevels; level > 0; --level) {
        file += U32(6 * level - 4);
        file += "\0\0"sv;
    }
    Findings findings;
    const OCSChunkRef root = ReadChunks(file, &findings);
    EXPECT_TRUE(findings.list.empty());
    EXPECT_EQ(Deepest(*root), kLevels);
    EXPECT_EQ(WriteChunks(*root), file);
    file[file.size() - 6] = 3;
    EXPECT_FALSE(ReadChunks(file));
}

TEST(DeepNesting, OfTextsTakesNoStack) {
    std::string text;
    for (std::uint32_t level = 0; level < kLevels; ++level) text += "a {";
    const OCSChunkRef root = ReadText(text);
    EXPECT_EQ(Deepest(*root), kLevels);
    TBufferBlock block(256);
    TBuffer stream(block);
    EXPECT_FALSE(WriteTagTextFile(*root, stream)) << "indentation would pass 4 GiB";
    EXPECT_EQ(block.Length(), 0u);
}

}  // namespace
}  // namespace Vorn::Testing
