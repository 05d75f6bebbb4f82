#include "assetdata/SizeTexts.h"

#include <array>
#include <string>
#include <string_view>

#include "assetdata/InterfaceTextDB.h"

namespace Vorn {
namespace {

constexpr double kStep = 1024;

InternedString Word(const char* tag) {
    return InterfaceTextDB::Instance().GetString(Intern(tag), true);
}

struct RateUnit {
    const char* tag;
    std::string_view placeholder;
};
constexpr std::array kRateUnits = {
    RateUnit{"$cm_general_bps", "$(BYTES)"},
    RateUnit{"$cm_general_kbps", "$(KILOBYTES)"},
    RateUnit{"$cm_general_mbps", "$(MEGABYTES)"},
};

}  // namespace

String SizeText(std::int64_t bytes) {
    static constexpr std::array kUnits = {
        "$cm_general_kilobytes",
        "$cm_general_megabytes",
        "$cm_general_gigabytes",
    };
    if (bytes < 0) return String(Word("$cm_unknown"));
    String text;
    if (bytes < 1024) {
        text.Format("%d %s", static_cast<int>(bytes), Word("$cm_general_bytes").Text());
        return text;
    }
    double value = static_cast<double>(bytes) / kStep;
    std::size_t unit = 0;
    for (; value > kStep && unit + 1 < kUnits.size(); ++unit) value /= kStep;
    text.Format("%.2f %s", value, Word(kUnits[unit]).Text());
    return text;
}

String RateText(double bytesPerSecond) {
    double value = bytesPerSecond;
    std::size_t unit = 0;
    if (!(value < kStep)) {
        value /= kStep;
        unit = 1;
    }
    if (value > kStep) {
        value /= kStep;
        unit = 2;
    }
    const InternedString word = Word(kRateUnits[unit].tag);
    const std::string_view placeholder = kRateUnits[unit].placeholder;
    String number;
    number.Format("%.2f", value);
    std::string text(word.View());
    const std::size_t position = text.find(placeholder);
    if (position != std::string::npos) text.replace(position, placeholder.size(), number.Text());
    return text.c_str();
}

}  // namespace Vorn
