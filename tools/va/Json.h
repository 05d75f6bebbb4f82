// One object of a JSON Lines answer. docs/formats/json.md lists the objects and their fields.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace va::tool {

// Fields keep the order in which they are set. Texts are UTF-8; bytes that are not become U+FFFD.
class JsonObject {
public:
    explicit JsonObject(std::string_view type);
    JsonObject(JsonObject&&) noexcept;
    ~JsonObject();

    JsonObject& Set(std::string_view field, std::string_view text);
    JsonObject& Set(std::string_view field, const char* text) {
        return Set(field, std::string_view(text));
    }
    JsonObject& Set(std::string_view field, std::uint64_t number);
    JsonObject& Set(std::string_view field, std::same_as<bool> auto truth) {
        return SetTruth(field, truth);
    }
    // Sets a member's name: `name` for people, and where `stored` holds bytes that code page 1252
    // does not define, the stored bytes as base64 (RFC 4648) in the field with "_bytes" after its
    // name.
    JsonObject& SetName(std::string_view field, std::string_view name, std::string_view stored);

    // Sets a text that may be in no encoding: bytes that are not UTF-8 appear as \xff, and the
    // field with "_bytes" after its name then holds them all as base64.
    JsonObject& SetText(std::string_view field, std::string_view text);
    JsonObject& SetBytes(std::string_view field, std::span<const std::byte> bytes);  // base64

    // Sets a list. A number that is not finite becomes null.
    JsonObject& SetList(std::string_view field, const std::vector<std::int32_t>& numbers);
    JsonObject& SetList(std::string_view field, const std::vector<float>& numbers);
    JsonObject& SetList(std::string_view field, const std::vector<std::string>& texts);

    // Returns the object as one line with its line feed.
    [[nodiscard]] std::string Line() const;

private:
    JsonObject& SetTruth(std::string_view field, bool truth);

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace va::tool
