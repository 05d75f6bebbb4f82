#include "KernelResource/ResourceSystem.h"

#include <algorithm>
#include <utility>

#include "KernelResource/ResourceBinCache.h"
#include "KernelResource/ResourceCore.h"
#include "services/OptionList.h"
#include "services/Task.h"

namespace Vorn {
namespace {

constexpr int kDefaultMemory = 30;  // megabytes
constexpr int kLeastMemory = 10;
constexpr std::int64_t kMegabyte = 1'000'000;
constexpr float kMaintenanceInterval = 1.0F;  // seconds

}  // namespace

// The task by which a host drives the system. Its name is fixed.
class ResourceSystemTask final : public Task {
public:
    explicit ResourceSystemTask(ResourceSystem& system)
        : Task(Intern("ResourceSystem"), false, 0), system_(system) {}
    int Update(float elapsedSeconds) override {
        system_.Process(elapsedSeconds);
        return 0;
    }

private:
    ResourceSystem& system_;
};

ResourceSystem::ResourceSystem() : core_(std::make_unique<ResourceCore>()) {}

ResourceSystem::~ResourceSystem() = default;

void ResourceSystem::Init(const OptionList* options) {
    options_ = options;
    bool caching = true;
    bool instant = false;
    if (options) {
        GetOptionBool(*options, "ResourceCaching", caching, true);
        int megabytes = 0;
        GetOptionInt(*options, "ResourceMemory", megabytes, kDefaultMemory);
        memoryBudget_ = std::max(megabytes, kLeastMemory) * kMegabyte;
        instant = options->Find("ResourceInstantBin") != nullptr;
    }
    core_->MakeCurrent();
    SetBin(instant ? nullptr : std::make_unique<ResourceBinCache>());
    if (caching) core_->StartQueue();
    task_ = std::make_unique<ResourceSystemTask>(*this);
}

void ResourceSystem::SetBin(std::unique_ptr<ResourceBin> bin) {
    core_->SetBin(bin ? std::move(bin) : std::make_unique<ResourceBinInstant>());
    Bin().Configure(options_);
}

void ResourceSystem::Process(float elapsedSeconds) {
    core_->Step(elapsedSeconds);
    sinceMaintenance_ += elapsedSeconds;
    if (sinceMaintenance_ <= kMaintenanceInterval) return;
    sinceMaintenance_ = 0;
    // The bin decides what goes: the system only knows the sum.
    if (memoryBudget_ > 0 && Accounts().Memory() > memoryBudget_) Bin().RelieveMemory();
}

bool ResourceSystem::QueueLoad(Resource& resource) { return core_->QueueLoad(resource); }

void ResourceSystem::TakeOutOfQueue(Resource& resource) { core_->TakeOutOfQueue(resource); }

float ResourceSystem::CurrentTime() const { return core_->CurrentTime(); }

bool ResourceSystem::IsCaching() const { return core_->HasQueue(); }

std::size_t ResourceSystem::DatabaseCount() const { return core_->DatabaseCount(); }

ResourceAccounts& ResourceSystem::Accounts() { return core_->Accounts(); }

ResourceTypes& ResourceSystem::Types() { return core_->Types(); }

ResourceBin& ResourceSystem::Bin() { return core_->Bin(); }

ArchiveDatabases& ResourceSystem::Archives() { return core_->Archives(); }

// A static object, because archive databases and their mounts are used until the process ends.
ResourceSystem& StartResourceSystem(const OptionList& options) {
    static const auto system = std::make_unique<ResourceSystem>();
    system->Init(&options);
    return *system;
}

}  // namespace Vorn
