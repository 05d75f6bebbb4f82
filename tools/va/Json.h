// One object of a JSON Lines answer. docs/formats/json.md lists the objects and their fields.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

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
    // A number that is not an integer, such as a value of a description.
    JsonObject& SetReal(std::string_view field, double number);

    // A member's name: `name` for people, and where `stored` holds bytes that code page 1252 does
    // not define, the stored bytes as base64 (RFC 4648) in the field with "_bytes" after its name.
    JsonObject& SetName(std::string_view field, std::string_view name, std::string_view stored);

    // The object as one line with its line feed.
    [[nodiscard]] std::string Line() const;

private:
    JsonObject& SetTruth(std::string_view field, bool truth);

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace va::tool
