#include "tests/KernelResource/ResourceLayer.h"

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/services/OptionSources.h"

namespace Vorn::Testing {

bool TextType::TakesFile(std::string_view name) const { return name.ends_with(".text"); }
bool TextType::TakesName(std::string_view name) const { return name.starts_with("made/"); }

RefPtr<Resource> TextType::Create(ResourceDatabase* home, const InternedString& name) {
    return MakeResource<TextResource>(*this, home, name);
}

TextResource::TextResource(TextType& type, ResourceDatabase* home, const InternedString& name)
    : Resource(home, name), type_(type) {
    ++type_.alive;
}

TextResource::~TextResource() { --type_.alive; }

void TextResource::LoadFile(ResourceResult& result, const char* fileName) {
    ++type_.loads;
    loadedBy_ = std::this_thread::get_id();
    type_.onLoad(*this);
    File file;
    if (file.Open(fileName, kReadDetect) != RES_OK) {
        result = RES_FAILED_TO_LOAD;
        return;
    }
    text_.resize(file.Size());
    text_.resize(file.Read(text_.data(), static_cast<std::uint32_t>(text_.size())));
}

void TextResource::LoadDescription(ResourceResult& result, const char* fileName) {
    OptionList description;
    String text;
    const bool told =
        ParseOptionFile(description, fileName) && GetOptionString(description, "Text", text, "");
    text_ = text.View();
    if (!told) result = RES_FAILED_TO_LOAD;
}

void TextResource::FinishLoad(ResourceResult& result) {
    isFinished_ = true;
    if (text_ == "cannot be finished") result = RES_FAILED_TO_LOAD;
}

int TextResource::GetDataSize() { return isFinished_ ? static_cast<int>(text_.size()) : -1; }

void TextResource::ReleaseData() {
    ++type_.unloads;
    text_.clear();
}

ResourceLayer::ResourceLayer(std::string_view optionText) {
    ParseOptions(options, optionText);
    system->Init(&options);
    system->Types().Add(texts);
}

void ResourceLayer::TearDown() {
    base.reset();
    system.reset();
    for (const InternedString& name : mounts_) {
        if (FileSubstList::Instance().FindSubst(name)) Subst(name, nullptr);
    }
    EXPECT_EQ(texts.alive, 0);
}

void ResourceLayer::Mount(const char* name, const Members& members) {
    const std::string path = folder.Path(name + ".va"s);
    mounts_.push_back(Intern(name));
    Subst(mounts_.back(), path.c_str(), true);
    for (const auto& [member, content] : members) {
        File file;
        ASSERT_EQ(file.Open(mounts_.back(), member.c_str(), kCreateOrTruncate | kWritePlain),
                  RES_OK);
        file.Write(content.data(), static_cast<std::uint32_t>(content.size()));
    }
    Subst(mounts_.back(), nullptr);
    Subst(mounts_.back(), path.c_str());
}

ResourceDatabase& ResourceLayer::OpenBase(const Members& members) {
    Mount("base", members);
    base = std::make_unique<ResourceDatabase>(Intern("base"));
    return *base;
}

ResourceDatabase& ResourceLayer::OpenNumbered(int count) {
    Members members;
    for (int i = 0; i < count; ++i) {
        members.emplace_back(std::to_string(i) + ".text", "text " + std::to_string(i));
    }
    return OpenBase(members);
}

std::string ResourceLayer::TextOf(std::string_view name) {
    auto* const resource = dynamic_cast<TextResource*>(Get(name));
    if (!resource || Acquire(*resource) != RES_RESOURCEOK) return "(none)";
    std::string text = resource->Text();
    resource->ReleaseUse();
    return text;
}

ResourceResult ResourceLayer::Acquire(Resource& resource) {
    ResourceResult result = RES_RESOURCEOK;
    resource.Acquire(result);
    return result;
}

void ResourceLayer::Drive(double seconds) {
    for (int step = 0; step < static_cast<int>(seconds * 10); ++step) system->Process(0.1F);
}

}  // namespace Vorn::Testing
