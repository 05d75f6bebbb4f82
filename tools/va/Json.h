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

// A JSON object whose fields keep the order in which they are set. Texts should be UTF-8; invalid
// bytes become U+FFFD.
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
    // Sets a member's name. If `stored` holds bytes that code page 1252 does not define, the field
    // with "_bytes" appended to its name gets the stored bytes as base64 (RFC 4648), because `name`
    // alone does not identify them for programs that decode 1252 strictly.
    JsonObject& SetName(std::string_view field, std::string_view name, std::string_view stored);

    // Sets a text of unknown encoding. If it is not UTF-8, invalid bytes appear as \xff, and the
    // field with "_bytes" appended to its name gets all bytes as base64.
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
