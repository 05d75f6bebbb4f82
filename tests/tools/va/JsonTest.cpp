#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

struct Field {
    std::string value;  // number, text, truth
    bool optional = false;
};

// Objects by "type" or "type of command", as the page lists them.
using Objects = std::map<std::string, std::map<std::string, Field>>;

Objects ReadPage() {
    const std::regex heading("### `(\\w+)`(?: of `([a-z -]+)`)?");
    const std::regex row(R"(\| `(\w+)` \| (\w+)(, optional)? \|.*)");
    Objects objects;
    std::string object;
    std::ifstream page(PAGES "/docs/formats/json.md");
    for (std::string line; std::getline(page, line);) {
        std::smatch match;
        if (std::regex_match(line, match, heading)) {
            object =
                match[2].length() > 0 ? match[1].str() + " of " + match[2].str() : match[1].str();
            objects[object];
        } else if (std::regex_match(line, match, row)) {
            objects[object][match[1]] = {match[2], match[3].matched};
        }
    }
    return objects;
}

std::string KindOf(const nlohmann::json& value) {
    if (value.is_string()) return "text";
    if (value.is_boolean()) return "truth";
    if (value.is_array()) return "list";
    return value.is_number() ? "number" : "something else";
}

class VaAnswersInJson : public VaProgram {
protected:
    // Checks each object of an answer against the page: no field that the page does not have, none
    // missing that it promises.
    void CheckAnswer(const std::string& answer) {
        std::istringstream lines(answer);
        std::string command;
        std::string last;
        for (std::string line; std::getline(lines, line);) {
            SCOPED_TRACE(line);
            const auto object = nlohmann::json::parse(line);
            last = object.at("type");
            if (last == "va") command = object.at("command");
            CheckObject(object, command);
        }
        EXPECT_EQ(last, "end");
    }

    void CheckObject(const nlohmann::json& object, const std::string& command) {
        const std::string type = object.at("type");
        std::map<std::string, Field> fields;
        for (const std::string& name : {type, type + " of " + command}) {
            const auto found = page_.find(name);
            if (found == page_.end()) continue;
            seen_.insert(name);
            fields.insert(found->second.begin(), found->second.end());
        }
        EXPECT_FALSE(fields.empty()) << "the page has no such object";
        for (const auto& [name, value] : object.items()) {
            if (name == "type") continue;
            ASSERT_TRUE(fields.contains(name)) << "the page does not have " << name;
            EXPECT_EQ(KindOf(value), fields.at(name).value) << name;
        }
        for (const auto& [name, field] : fields) {
            if (!field.optional && !object.contains("error")) {
                EXPECT_TRUE(object.contains(name)) << name;
            }
        }
    }

    const Objects page_ = ReadPage();
    std::set<std::string> seen_;
};

TEST_F(VaAnswersInJson, AsThePageSaysForEveryCommand) {
    folder_.Write(
        "tags.chump",
        ChunkFile(Record("box", 0, Record("f", 2, "\0\0\x80\x7F"s)) + Record("n", 1, "\1\0\0\0"s) +
                  Record("odd \xFF", 3, "\xFE\0"s) + Record("r", 4, "\1\2"s) +
                  Record("k", 13, "\5\0\0\4\x09\0\0\0"s) + Record("none", 5, "")));
    folder_.Write("a/one.txt", "one");
    folder_.Write("a/two.txt", std::string(5000, '2'));
    folder_.Write("b/two.txt", "other");
    folder_.Write("b/mesh.im", "MESH\x0C\0\0\0indxDATA\0\0\0\0"s);
    folder_.Write("c/one.txt", "changed");
    folder_.Write("c/moved.txt", std::string(5000, '2'));
    folder_.Write("unfit/two\nlines.txt", "no member");
    folder_.Write("b.chump", ChunkFile(Record("n", 1, "1234")));
    folder_.Write("b.sums", std::string(64, '0') + "  one.txt\n");
    Pack("Odd.va", "plain.txt", "content");
    Pack("New.va", "fresh.txt", "fresh");
    Pack("Bad.va", "hurt.txt", "content that is hurt");
    std::string bytes = folder_.Read("Bad.va");
    bytes.at(bytes.find("content") + 3) ^= 0x20;
    folder_.Write("Bad.va", bytes);
    ASSERT_EQ(std::system(("cd " + folder_.Path() +
                           " && " VACONVERTER " patchdiff Odd.va New.va . >/dev/null")
                              .c_str()),
              0);
    for (const char* words : {
             "tag print --json tags.chump",
             "tag check --json tags.chump a/one.txt nowhere.txt",
             "tag check --json --losses=no tags.chump",
             "tag get --json --default=x tags.chump box n r none nowhere",
             "tag diff --json tags.chump a/one.txt",
             "list --json Odd.va",
             "list --json Nowhere.va",
             "info --json Odd.va a unfit b.chump nowhere.va",
             "test --json Odd.va Bad.va",
             "extract --json -C out Odd.va",
             "create --json Made.va a",
             "add --json Made.va b",
             "rename --json Made.va one.txt first.txt",
             "delete --json Made.va first.txt",
             "repack --json Odd.va -o Packed.va",
             "repair --json Odd.va -o Saved.va",
             "repair --json Bad.va -o Never.va",
             "compare --json a b",
             "diff --json a c",
             "diff --json --compact a c -o small.vap",
             "expand --json small.vap a",
             "info --json small.vap",
             "test --json small.vap",
             "report --json small.vap",
             "report --json Odd-diff.va",
             "sums --json Odd.va",
             "blocks --json Odd.va",
             "blocks --json b/mesh.im",
             "overlay --json a b",
             "overlay --json --conflicts --write Merged.va a b",
             "apply --json Odd.va Odd-diff.va",
             "apply --json a Odd-diff.va -o never.va",
             "verify --json a Odd-diff.va",
             "verify --json a b.sums",
         }) {
        SCOPED_TRACE(words);
        CheckAnswer(Va(words).out);
    }
    seen_.insert("progress");  // appears after half a second of work only
    for (const auto& [object, fields] : page_) {
        EXPECT_TRUE(seen_.contains(object)) << "no command wrote " << object;
    }
}

}  // namespace
}  // namespace Vorn::Testing
