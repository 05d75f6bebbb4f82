#include <algorithm>
#include <array>
#include <cstring>

#include "bench/delta/Corpora.h"
#include "bench/delta/Random.h"

namespace delta::bench {
namespace {

using Lines = std::vector<std::string>;

constexpr std::array<const char*, 24> kWords{
    "track",  "mesh",   "engine", "signal",   "bridge", "texture", "region", "season",
    "weight", "length", "speed",  "texture",  "cargo",  "light",   "sound",  "queue",
    "effect", "attach", "volume", "gradient", "train",  "station", "night",  "window"};

std::string Word(Random& random) { return kWords.at(random.Below(kWords.size())); }

std::string Value(Random& random) {
    switch (random.Below(4)) {
        case 0:
            return std::to_string(random.Below(1000));
        case 1:
            return std::to_string(random.Below(100)) + "." + std::to_string(random.Below(10000));
        case 2:
            return "\"" + Word(random) + "_" + Word(random) + "_" +
                   std::to_string(random.Below(90)) + ".im\"";
        default:
            return "<kuid:" + std::to_string(random.Below(90000)) + ":" +
                   std::to_string(random.Below(99999)) + ">";
    }
}

std::string Line(Random& random, std::size_t depth) {
    std::string line(depth * 2, ' ');
    line += Word(random) + "-" + Word(random);
    line.resize(std::max<std::size_t>(line.size() + 1, 32), ' ');
    return line + Value(random);
}

std::string ScriptLine(Random& random) {
    switch (random.Below(3)) {
        case 0:
            return "    if (" + Word(random) + "." + Word(random) + " > " + Value(random) + ")";
        case 1:
            return "        " + Word(random) + ".Set(" + Value(random) + ", " + Word(random) + ");";
        default:
            return "    int " + Word(random) + std::to_string(random.Below(9)) + " = " +
                   Word(random) + ".Count() + " + std::to_string(random.Below(50)) + ";";
    }
}

Lines Text(Random& random, std::size_t size, bool script) {
    Lines lines;
    std::size_t depth = 0;
    for (std::size_t made = 0; made < size; made += lines.back().size() + 1) {
        const std::size_t turn = random.Below(8);
        if (script) {
            lines.push_back(ScriptLine(random));
        } else if (turn == 0 && depth < 3) {
            lines.push_back(std::string(depth++ * 2, ' ') + Word(random) + " {");
        } else if (turn == 1 && depth > 0) {
            lines.push_back(std::string(--depth * 2, ' ') + "}");
        } else {
            lines.push_back(Line(random, depth));
        }
    }
    return lines;
}

void EditOnce(Random& random, Lines& lines, bool script) {
    const std::size_t at = random.Below(lines.size());
    const auto place = lines.begin() + static_cast<std::ptrdiff_t>(at);
    switch (random.Below(6)) {
        case 0:
        case 1:
            lines[at].resize(std::min<std::size_t>(lines[at].size(), 32));
            lines[at] += Value(random);
            break;
        case 2:
        case 3:
            lines.insert(place, script ? ScriptLine(random) : Line(random, 1));
            break;
        case 4:
            if (lines.size() > 1) lines.erase(place);
            break;
        default:
            std::swap(lines[at], lines[random.Below(lines.size())]);
    }
}

ByteBuffer Join(const Lines& lines) {
    ByteBuffer out;
    for (const std::string& line : lines) {
        out.insert(out.end(), line.begin(), line.end());
        out.push_back('\n');
    }
    return out;
}

Pair TextPair(Random& random, bool script) {
    Lines lines = Text(random, random.Between(200, 16000), script);
    Pair pair{script ? "script.gs" : "config.txt", Join(lines), {}};
    for (std::size_t edits = random.Between(1, 6); edits > 0; --edits)
        EditOnce(random, lines, script);
    pair.after = Join(lines);
    return pair;
}

// Returns records of 24 bytes: a number, a few small fields, a name that is mostly zeros.
Pair RecordPair(Random& random) {
    ByteBuffer bytes;
    const std::size_t count = random.Between(10, 600);
    for (std::size_t i = 0; i < count; ++i) {
        std::array<std::uint8_t, 24> record{};
        record[0] = static_cast<std::uint8_t>(i);
        record[1] = static_cast<std::uint8_t>(i >> 8);
        for (std::size_t field = 2; field < 12; field += 2) record.at(field) = random.Byte();
        const std::string name = Word(random);
        std::copy_n(name.begin(), std::min<std::size_t>(name.size(), 12), record.begin() + 12);
        bytes.insert(bytes.end(), record.begin(), record.end());
    }
    Pair pair{"records.dat", bytes, bytes};
    for (std::size_t edits = random.Between(1, 8); edits > 0; --edits) {
        pair.after[random.Below(count) * 24 + 2 + 2 * random.Below(5)] = random.Byte();
    }
    if (random.Below(3) == 0) {
        const auto from =
            pair.after.begin() + static_cast<std::ptrdiff_t>(24 * random.Below(count));
        pair.after.erase(from, from + 24);
    }
    return pair;
}

}  // namespace

std::vector<Pair> MakeSmallFiles(std::size_t count) {
    Random random(2);
    std::vector<Pair> pairs;
    for (std::size_t i = 0; i < count; ++i) {
        pairs.push_back(i % 3 == 2 ? RecordPair(random) : TextPair(random, i % 3 == 1));
    }
    return pairs;
}

}  // namespace delta::bench
