// Changes of archives in place, against a map of what they must hold.
#include "platform/Files.h"
#include "tests/support/RawArchive.h"
#include "vaconverter/change.h"

namespace Vorn::Testing {
namespace {

using Model = std::map<std::string, std::string>;

std::vector<std::byte> BytesOf(const std::string& text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

std::string TextOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Model ContentOf(const va::Archive& archive) {
    Model content;
    for (const va::Member& member : archive.Members()) {
        const auto [place, isNew] = content.emplace(member.Name(), TextOf(archive.Read(member)));
        EXPECT_TRUE(isNew) << member.Name();
    }
    return content;
}

va::ArchiveWriter WriterOf(const Model& members) {
    va::ArchiveWriter writer;
    for (const auto& [name, content] : members) writer.AddContent(BytesOf(content), name);
    return writer;
}

class ChangingArchives : public testing::Test {
protected:
    [[nodiscard]] std::string Path() const { return folder_.Path("a.va"); }

    void Create(const Model& members) const {
        (void)WriterOf(members).Create({.result = Path(), .replace = true});
    }

    // What is refused leaves the file as it is, and a dry run refuses it in the same words.
    void ExpectRefused(const std::function<void(bool dryRun)>& change, va::ErrorCode code,
                       const std::string& said) const {
        const std::string before = folder_.Read("a.va");
        for (const bool dryRun : {true, false}) {
            try {
                change(dryRun);
                ADD_FAILURE() << "not refused: " << said;
            } catch (const va::Error& error) {
                EXPECT_EQ(error.code(), code) << error.what();
                EXPECT_THAT(error.what(), HasSubstr(said));
            }
        }
        EXPECT_TRUE(folder_.Read("a.va") == before);
    }

    TempFolder folder_;
};

TEST_F(ChangingArchives, AnyChangesHoldWhatTheyMust) {
    std::minstd_rand random(3);
    Model model;
    Create(model);
    const auto someName = [&] {
        return "f" + std::to_string(random() % 4) + "/m" + std::to_string(random() % 9);
    };
    const auto someContent = [&] {
        const std::size_t size = random() % (1U << random() % 15);
        return random() % 2 == 0 ? Prose(size) : Noise(size, static_cast<unsigned>(random()));
    };
    std::vector<std::pair<va::Archive, Model>> readers;
    for (int round = 0; round < 250; ++round) {
        SCOPED_TRACE(round);
        if (random() % 20 == 0) readers.emplace_back(va::Archive(Path()), model);
        va::ChangeResult result;
        switch (random() % 5) {
            case 0:
            case 1: {
                Model added;
                for (auto count = random() % 4; count > 0; --count)
                    added[someName()] = someContent();
                result = WriterOf(added).AddTo(Path(), {.update = random() % 2 == 0});
                EXPECT_EQ(result.added + result.replaced + result.same, added.size());
                for (const auto& [name, content] : added) model[name] = content;
                break;
            }
            case 2: {
                std::vector<std::string> names;
                for (const auto& [name, content] : model) {
                    if (random() % 6 == 0) names.push_back(name);
                }
                result = va::DeleteMembers(Path(), names);
                EXPECT_EQ(result.deleted, names.size());
                for (const std::string& name : names) model.erase(name);
                break;
            }
            case 3: {
                if (model.empty()) continue;
                const auto old =
                    std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()));
                const std::string name = someName();
                if (model.contains(name)) continue;
                result = va::RenameMembers(Path(), old->first, name);
                model[name] = old->second;
                model.erase(old);
                break;
            }
            default: {
                Model wanted = model;
                if (!wanted.empty()) wanted.erase(wanted.begin());
                wanted[someName()] = someContent();
                result = WriterOf(wanted).AddTo(Path(), {.sync = true, .threads = 2});
                model = wanted;
            }
        }
        const va::Archive archive(Path());
        ASSERT_EQ(ContentOf(archive), model);
        const va::CheckResult check = archive.Check();
        ASSERT_EQ(check.found, 0u) << check.findings[0].what;
        EXPECT_EQ(result.members, model.size());
        EXPECT_EQ(result.bytes, archive.Info().fileSize);
        EXPECT_EQ(result.deadBytes, archive.Info().deadBytes);
        if (random() % 10 == 0) {
            // The archive tool goes on from here, and this from what it leaves.
            folder_.Write("by-tool", "content" + std::to_string(round));
            ASSERT_EQ(
                Shell("cd " + folder_.Path() + " && " VARCHIVE " -k -c a a.va by-tool >/dev/null"),
                0);
            model["by-tool"] = "content" + std::to_string(round);
        }
    }
    EXPECT_GT(readers.size(), 5u);
    ASSERT_EQ(Shell("cd " + folder_.Path() +
                    " && mkdir out && cd out && " VARCHIVE " -r -P -k e ../a.va '*' >/dev/null"),
              0);
    for (const auto& [name, content] : model)
        EXPECT_TRUE(folder_.Read("out/" + name) == content) << name;
}

TEST_F(ChangingArchives, OpenReadersKeepWhatTheyHad) {
    const Model before = {{"a", Prose(5000)}, {"b/c", Noise(3000)}, {"b/d", "short"}};
    Create(before);
    const va::Archive reader(Path());
    (void)WriterOf({{"a", "new"}, {"e", Noise(90000)}}).AddTo(Path());
    (void)va::DeleteMembers(Path(), std::vector<std::string>{"b/c"});
    (void)va::RenameMembers(Path(), "b", "moved/");
    EXPECT_EQ(ContentOf(reader), before);
    EXPECT_EQ(ContentOf(va::Archive(Path())),
              (Model{{"a", "new"}, {"e", Noise(90000)}, {"moved/b/d", "short"}}));
}

TEST_F(ChangingArchives, ReadersThatOpenMeanwhileFindTheOldMembersOrTheNewOnes) {
    Create({{"same", Prose(3000)}, {"turn", "0"}, {"turn0", ""}});
    std::atomic<bool> ended = false;
    std::jthread changes([&] {
        for (int turn = 1; turn <= 60; ++turn) {
            const std::string number = std::to_string(turn);
            va::ArchiveWriter writer = WriterOf(
                {{"turn", number}, {"turn" + number, Noise(30000)}, {"same", Prose(3000)}});
            (void)writer.AddTo(Path(), {.sync = true});
        }
        ended = true;
    });
    int opened = 0;
    while (!ended) {
        const va::Archive reader(Path());
        const Model content = ContentOf(reader);
        ASSERT_EQ(content.size(), 3u);
        EXPECT_EQ(reader.Info().index, va::IndexState::Whole);
        EXPECT_EQ(content.at("same"), Prose(3000));
        EXPECT_TRUE(content.contains("turn" + content.at("turn")));
        ++opened;
    }
    EXPECT_GT(opened, 3);
}

TEST_F(ChangingArchives, ChangesAtOnceTakeTurns) {
    Create({});
    InThreads(6, [&](std::size_t i) {
        for (int n = 0; n < 5; ++n) {
            const std::string name = std::to_string(i) + "/" + std::to_string(n);
            (void)WriterOf({{name, name}}).AddTo(Path());
        }
    });
    const va::Archive archive(Path());
    EXPECT_EQ(archive.Members().size(), 30u);
    EXPECT_EQ(archive.Check().found, 0u);
}

TEST_F(ChangingArchives, RefusesBeforeTheFirstByte) {
    using va::ErrorCode;
    Create({{"a", "1"}, {"b/c", "2"}, {"b/d", "3"}});
    const auto add = [&](const Model& members) {
        return [this, members](bool dryRun) {
            (void)WriterOf(members).AddTo(Path(), {.dryRun = dryRun});
        };
    };
    const auto rename = [&](const char* from, const char* to) {
        return [this, from, to](bool dryRun) {
            (void)va::RenameMembers(Path(), from, to, {.dryRun = dryRun});
        };
    };
    ExpectRefused(add({{"x:y", ""}}), ErrorCode::Refused, "'x:y' has a ':'");
    ExpectRefused(rename("a", "B/C"), ErrorCode::Refused, "names that are taken");
    ExpectRefused(rename("b/c", "b/d"), ErrorCode::Refused, "names that are taken");
    ExpectRefused(rename("b", "../out"), ErrorCode::Refused, "has a '..' component");
    ExpectRefused(rename("b", std::string(258, 'n').c_str()), ErrorCode::Refused,
                  "longer than 259 bytes");
    ExpectRefused(rename("nowhere", "x"), ErrorCode::NotFound,
                  "there is no member or folder 'nowhere'");
    ExpectRefused(
        [&](bool dryRun) {
            (void)va::DeleteMembers(Path(), std::vector<std::string>{"a", "no"},
                                    {.dryRun = dryRun});
        },
        ErrorCode::NotFound, "there is no member 'no'");

    const std::string whole = folder_.Read("a.va");
    folder_.Write("a.va", whole.substr(0, whole.size() - 20));
    ExpectRefused(add({{"x", ""}}), ErrorCode::Refused, "its index is missing or damaged");
    folder_.Write("a.va", whole + "bytes of something else");
    ExpectRefused(rename("a", "x"), ErrorCode::Refused, "23 bytes after its last member and index");
    std::string version = whole;
    version.at(kVersionAt) = 1;
    folder_.Write("a.va", version);
    ExpectRefused(add({{"x", ""}}), ErrorCode::Refused,
                  "archives of an earlier format take no new members");
    EXPECT_EQ(va::DeleteMembers(Path(), std::vector<std::string>{"a"}).deleted, 1u);
    folder_.Write("a.va", "no archive");
    ExpectRefused(add({{"x", ""}}), ErrorCode::Refused, "it does not begin with");
    fs::remove(folder_.Path("a.va"));
    ExpectRefused(add({{"x", ""}}), ErrorCode::NotFound, "there is no such archive");
}

TEST_F(ChangingArchives, ArchivesWithoutAnIndexGetOne) {
    folder_.Write("a.va", RawArchive({{"a", "first"}, {"b", "second"}}, false));
    (void)WriterOf({{"c", "third"}}).AddTo(Path());
    const va::Archive archive(Path());
    EXPECT_EQ(archive.Info().index, va::IndexState::Whole);
    EXPECT_EQ(ContentOf(archive), (Model{{"a", "first"}, {"b", "second"}, {"c", "third"}}));
}

// Names of members that read without an error, and their contents.
Model Readable(const std::string& path) {
    Model content;
    try {
        const va::Archive archive(path);
        for (const va::Member& member : archive.Members()) {
            try {
                content.emplace(member.Name(), TextOf(archive.Read(member, 1 << 20)));
            } catch (const va::Error&) {
            }
        }
    } catch (const va::Error&) {
    }
    return content;
}

TEST_F(ChangingArchives, DamagedArchivesLoseNothingElse) {
    Model model;
    for (int i = 0; i < 8; ++i)
        model["d/m" + std::to_string(i)] = Prose(300 + static_cast<std::size_t>(i) * 40);
    Create(model);
    (void)va::DeleteMembers(Path(), std::vector<std::string>{"d/m3"});
    const std::string whole = folder_.Read("a.va");
    std::minstd_rand random(8);
    int changed = 0;
    int refused = 0;
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE(round);
        std::string bytes = whole;
        // Mostly in header, chunk headers and index, where lies about places are.
        for (auto flips = random() % 3; flips < 3; ++flips) {
            const std::size_t at =
                random() % 2 == 0 ? random() % bytes.size() : 4 * (random() % (bytes.size() / 4));
            const std::size_t index = Get32(whole, kIndexOffsetAt);
            const std::size_t place =
                random() % 2 == 0 ? at : index + 8 + 296 * (random() % 7) + random() % 8;
            bytes.at(place) =
                static_cast<char>(random() % 3 == 0 ? random() : whole.at(random() % whole.size()));
        }
        folder_.Write("a.va", bytes);
        const Model before = Readable(Path());
        std::set<std::string> touched;
        try {
            switch (random() % 3) {
                case 0:
                    touched = {"d/m1", "new"};
                    (void)WriterOf({{"d/m1", "replaced"}, {"new", "n"}}).AddTo(Path());
                    break;
                case 1:
                    touched = {"d/m2", "d/m5"};
                    (void)va::DeleteMembers(Path(), std::vector<std::string>{"d/m2", "d/m5"});
                    break;
                default:
                    touched = {"d/m4", "x"};
                    (void)va::RenameMembers(Path(), "d/m4", "x");
            }
            ++changed;
            const Model after = Readable(Path());
            for (const auto& [name, content] : before) {
                if (touched.contains(name)) continue;
                ASSERT_TRUE(after.contains(name)) << name;
                EXPECT_EQ(after.at(name), content) << name;
            }
        } catch (const va::Error&) {
            ++refused;
            EXPECT_EQ(Readable(Path()), before);
        }
        if (HasFailure()) return;
    }
    EXPECT_GT(changed, 100);
    EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace Vorn::Testing
