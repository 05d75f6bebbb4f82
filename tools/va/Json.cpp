// The only source that includes the JSON library, because its header is slow to compile.
#include "tools/va/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

std::string Base64(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 |
                    (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            out += at + i <= bytes.size() ? kDigits[group >> (18 - 6 * i) & 63] : '=';
        }
    }
    return out;
}

// Escapes U+007F to U+009F. JSON allows them unescaped and the library writes them so, but some
// terminals execute them. Outside texts they cannot occur, so the meaning stays the same.
void EscapeControls(std::string& line) {
    constexpr char kDelete = '\x7F';
    constexpr char kLead = '\xC2';  // of U+0080 to U+00BF in UTF-8
    for (std::size_t at = 0; (at = line.find_first_of("\x7F\xC2", at)) != line.npos; ++at) {
        const auto code = static_cast<unsigned char>(line[at] == kDelete ? kDelete : line[at + 1]);
        if (code > 0x9F) continue;
        constexpr std::string_view kDigits = "0123456789abcdef";
        const std::size_t length = line[at] == kLead ? 2 : 1;
        line.replace(at, length, std::string("\\u00") + kDigits[code >> 4] + kDigits[code & 15]);
    }
}

bool IsUndefined(char byte) {
    constexpr std::string_view kUndefined = "\x81\x8D\x8F\x90\x9D";
    return kUndefined.find(byte) != kUndefined.npos;
}

}  // namespace

struct JsonObject::Impl {
    nlohmann::ordered_json json;
};

JsonObject::JsonObject(std::string_view type) : impl_(std::make_unique<Impl>()) {
    impl_->json["type"] = type;
}
JsonObject::JsonObject(JsonObject&&) noexcept = default;
JsonObject::~JsonObject() = default;

JsonObject& JsonObject::Set(std::string_view field, std::string_view text) {
    impl_->json[std::string(field)] = text;
    return *this;
}

JsonObject& JsonObject::Set(std::string_view field, std::uint64_t number) {
    impl_->json[std::string(field)] = number;
    return *this;
}

JsonObject& JsonObject::SetTruth(std::string_view field, bool truth) {
    impl_->json[std::string(field)] = truth;
    return *this;
}

JsonObject& JsonObject::SetText(std::string_view field, std::string_view text) {
    if (IsUtf8(text)) return Set(field, text);
    return Set(field, Shown(text))
        .SetBytes(std::string(field) + "_bytes", std::as_bytes(std::span(text)));
}

JsonObject& JsonObject::SetBytes(std::string_view field, std::span<const std::byte> bytes) {
    return Set(field, Base64({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
}

JsonObject& JsonObject::SetList(std::string_view field, const std::vector<std::int32_t>& numbers) {
    impl_->json[std::string(field)] = numbers;
    return *this;
}

JsonObject& JsonObject::SetList(std::string_view field, const std::vector<float>& numbers) {
    impl_->json[std::string(field)] = numbers;
    return *this;
}

JsonObject& JsonObject::SetList(std::string_view field, const std::vector<std::string>& texts) {
    impl_->json[std::string(field)] = texts;
    return *this;
}

JsonObject& JsonObject::SetName(std::string_view field, std::string_view name,
                                std::string_view stored) {
    Set(field, name);
    if (std::ranges::any_of(stored, IsUndefined)) {
        Set(std::string(field) + "_bytes", Base64(stored));
    }
    return *this;
}

std::string JsonObject::Line() const {
    std::string line =
        impl_->json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    EscapeControls(line);
    return line + "\n";
}

}  // namespace va::tool
