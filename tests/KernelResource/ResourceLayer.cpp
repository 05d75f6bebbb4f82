#include "tests/KernelResource/ResourceLayer.h"

#include "kernel/services/OptionSources.h"

namespace Vorn::Testing {

RefPtr<Resource> TextType::Create(ResourceDatabase* home, const InternedString& name) {
    return MakeResource<TextResource>(*this, home, name);
}

void TextResource::LoadFile(ResourceResult& result, const char* fileName) {
    ++type_.loads;
    loadedBy = std::this_thread::get_id();
    type_.onLoad(*this);
    const auto content = Contents(fileName);
    text = content.value_or("");
    if (!content) result = RES_FAILED_TO_LOAD;
}

void TextResource::LoadDescription(ResourceResult& result, const char* fileName) {
    OptionList description;
    String told;
    if (!ParseOptionFile(description, fileName)) result = RES_FAILED_TO_LOAD;
    GetOptionString(description, "Text", told, "");
    text = told.View();
}

void TextResource::FinishLoad(ResourceResult& result) {
    isFinished = true;
    if (text == "cannot be finished") result = RES_FAILED_TO_LOAD;
}

void TextResource::ReleaseData() {
    ++type_.unloads;
    text.clear();
}

void ResourceLayer::Start(std::string_view optionText) {
    base.reset();
    system = std::make_unique<ResourceSystem>();
    ParseOptions(options.emplace(), optionText);
    system->Init(&*options);
    system->Types().Add(texts);
}

void ResourceLayer::TearDown() {
    base.reset();
    system.reset();
    EXPECT_EQ(texts.alive, 0);
}

void ResourceLayer::Mount(const std::string& name, const std::vector<RawMember>& members) {
    const std::string path = folder.Write(name + ".va", RawArchive(members));
    Subst(Intern(name), path.c_str());
}

void ResourceLayer::OpenBase(const std::vector<RawMember>& members) {
    Mount("base", members);
    base = std::make_unique<ResourceDatabase>(Intern("base"));
}

void ResourceLayer::OpenNumbered(std::size_t count) {
    base.reset();
    std::vector<RawMember> members;
    for (std::size_t i = 0; i < count; ++i) {
        members.push_back({std::to_string(i) + ".text", "text " + std::to_string(i)});
    }
    OpenBase(members);
}

TextResource& ResourceLayer::Numbered(std::size_t number) {
    return dynamic_cast<TextResource&>(*Get(std::to_string(number) + ".text"));
}

std::string ResourceLayer::TextOf(std::string_view name) {
    auto* const resource = dynamic_cast<TextResource*>(Get(name));
    if (!resource || Acquire(*resource) != RES_RESOURCEOK) return "(none)";
    std::string text = resource->text;
    resource->ReleaseUse();
    return text;
}

ResourceResult ResourceLayer::Acquire(Resource& resource) {
    ResourceResult result = RES_RESOURCEOK;
    resource.Acquire(result);
    return result;
}

}  // namespace Vorn::Testing
