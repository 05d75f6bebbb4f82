#include <pthread.h>

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

using Pairs = std::vector<std::pair<std::string, std::int32_t>>;

// A container and the pairs that it should hold: the records of a file, then what was added. One
// that comes from no file has no records.
class ModelledContainer {
public:
    ModelledContainer(OCSChunkRef container, Pairs pairs, std::size_t records)
        : container_(std::move(container)), pairs_(std::move(pairs)), records_(records) {}

    void Change(std::mt19937& random) {
        const auto kind = random() % 200;
        const OCSChunkRef child = Child(random());
        const OCSChunkRef other = Child(random());
        const std::string name(1, static_cast<char>('a' + random() % 7));
        if (kind == 0) {
            container_->Clear();
            pairs_.clear();
            records_ = 0;
        } else if (kind < 80) {
            Add(name, Number(next_++));
        } else if (kind < 140) {
            Remove(child);
        } else if (kind < 160 && child) {
            // The same child under another name, mostly out before it comes in again.
            if (kind > 144) Remove(child);
            Add(name, child);
        } else if (kind < 190 && child) {
            Swap(child, other);
        } else {
            const OCSChunkRef stranger = Number(0);
            container_->SwapChildren(child, stranger);
            container_->RemoveChild(stranger);
            container_->AddChild(Intern("a"), {});
        }
    }

    void Compare() const {
        ASSERT_EQ(container_->ChildCount(), pairs_.size());
        std::map<std::string, std::int32_t> first;
        std::uint32_t index = 0;
        for (const auto& [name, value] : pairs_) {
            ASSERT_EQ(container_->ChildName(index).View(), name);
            ASSERT_EQ(ValueOf(container_->ChildAt(index++).child), value);
            first.emplace(name, value);
        }
        ASSERT_FALSE(container_->ChildAt(index).child);
        for (const std::string name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
            ASSERT_EQ(ValueOf(container_->FindChild(Intern(name))),
                      first.contains(name) ? first[name] : -1);
        }
    }

private:
    [[nodiscard]] OCSChunkRef Child(std::size_t number) const {
        return container_->ChildAt(static_cast<std::uint32_t>(number % (pairs_.size() + 1))).child;
    }
    [[nodiscard]] Pairs::iterator PairOf(std::int32_t value) {
        return std::ranges::find(pairs_, value, &Pairs::value_type::second);
    }

    void Add(const std::string& name, const OCSChunkRef& child) {
        container_->AddChild(Intern(name), child);
        pairs_.emplace_back(name, ValueOf(child));
    }
    void Remove(const OCSChunkRef& child) {
        container_->RemoveChild(child);
        if (child) Erase(PairOf(ValueOf(child)));
    }
    void Swap(const OCSChunkRef& child, const OCSChunkRef& other) {
        container_->SwapChildren(child, other);
        if (!other || ValueOf(child) == ValueOf(other)) return;
        const bool isFirst = PairOf(ValueOf(child)) < PairOf(ValueOf(other));
        const std::int32_t a = ValueOf(isFirst ? child : other);
        const std::int32_t b = ValueOf(isFirst ? other : child);
        Replace(PairOf(a), kSwapped);
        Replace(PairOf(b), a);
        PairOf(kSwapped)->second = b;
    }
    // A record whose child changes continues among the added children.
    void Replace(Pairs::iterator pair, std::int32_t by) {
        const std::string name = pair->first;
        pair->second = by;
        if (!IsRecord(pair)) return;
        Erase(pair);
        pairs_.emplace_back(name, by);
    }
    void Erase(Pairs::iterator pair) {
        if (IsRecord(pair)) --records_;
        pairs_.erase(pair);
    }
    [[nodiscard]] bool IsRecord(Pairs::iterator pair) {
        return static_cast<std::size_t>(pair - pairs_.begin()) < records_;
    }

    static constexpr std::int32_t kSwapped = -2;
    OCSChunkRef container_;
    Pairs pairs_;
    std::size_t records_;
    std::int32_t next_ = 1000;
};

TEST(TagContainers, ChangeAsTheirModelsDo) {
    std::mt19937 random(1);
    for (int round = 0; round < 24; ++round) {
        SCOPED_TRACE(round);
        Pairs pairs;
        const OCSChunkRef tree = NewTag(kTagContainer);
        const OCSChunkRef inside = NewTag(kTagContainer);
        for (auto left = random() % (round % 2 ? 60 : 10) + 1; left > 0; --left) {
            const auto value = static_cast<std::int32_t>(left);
            pairs.emplace_back(std::string(1, static_cast<char>('a' + random() % 7)), value);
            tree->AddChild(Intern(pairs.back().first), Number(value));
            inside->AddChild(Intern(pairs.back().first), Number(value));
        }
        const OCSChunkRef outer = NewTag(kTagContainer);
        outer->AddChild(Intern("box"), inside);
        const OCSChunkRef root = ReadChunks(WriteChunks(*outer));
        const OCSChunkRef box = root->FindChild(Intern("box"));
        for (ModelledContainer changing :
             {ModelledContainer(tree, pairs, 0), ModelledContainer(box, pairs, pairs.size())}) {
            for (int change = 0; change < 300 && !HasFatalFailure(); ++change) {
                changing.Change(random);
                changing.Compare();
            }
        }
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

// 10 million levels, except where a sanitizer makes every tag several times as large.
constexpr std::uint32_t kLevels = VORN_SANITIZED ? 300'000 : 10'000'000;

template <typename Work>
void OnSmallStack(const Work& work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread{};
    const auto run = [](void* called) -> void* {
        (*static_cast<const Work*>(called))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<Work*>(&work)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

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
    OnSmallStack([&] {
        Findings findings;
        const OCSChunkRef root = ReadChunks(file, &findings);
        EXPECT_TRUE(findings.list.empty());
        EXPECT_EQ(Deepest(*root), kLevels);
        EXPECT_EQ(WriteChunks(*root), file);
        file[file.size() - 6] = 3;
        EXPECT_FALSE(ReadChunks(file));
    });
}

TEST(DeepNesting, OfTextsTakesNoStack) {
    std::string text;
    for (std::uint32_t level = 0; level < kLevels; ++level) text += "a {";
    OnSmallStack([&] {
        OCSChunkRef root = ReadText(text);
        EXPECT_EQ(Deepest(*root), kLevels);
        TBufferBlock block(256);
        TBuffer stream(block);
        EXPECT_FALSE(WriteTagTextFile(*root, stream)) << "indentation would pass 4 GiB";
        EXPECT_EQ(block.Length(), 0u);
        root = {};
    });
}

}  // namespace
}  // namespace Vorn::Testing
