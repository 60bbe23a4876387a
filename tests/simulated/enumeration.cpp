// Enumerating the folders of the simulated volume, stored and generated.
#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "platform/system_path.hpp"
#include "simulated/tree.hpp"

namespace system_search::simulated {
namespace {

struct OpenEnumeration {
    std::shared_ptr<const GeneratedFolder> generated;
    std::vector<NodePtr> children;  // as they were when the folder was opened
    std::uint64_t count = 0;
    std::uint64_t index = 0;
    // Up to this index nothing but the next child can happen.
    std::uint64_t undisturbed = UINT64_MAX;
    std::shared_ptr<const ChildHooks> hooks;
    platform::Error next_error = platform::kSuccess;
    std::uint64_t next_error_at = UINT64_MAX;
};

// Hooks and faults that wait at the child about to be handed out.
platform::Error disturb(const OpenEnumeration& open) {
    if (open.hooks) {
        for (const auto& [index, hook] : *open.hooks) {
            if (index == open.index) hook();
        }
    }
    return open.index >= open.next_error_at ? open.next_error : platform::kSuccess;
}

platform::Error fill(OpenEnumeration& open, platform::Child& child) {
    if (open.index >= open.undisturbed) {
        if (const platform::Error error = disturb(open)) return error;
    }
    child.type_error = platform::kSuccess;
    child.reparse_tag = 0;
    if (open.generated) {
        if (open.index >= open.count) return platform::kNoMoreFiles;
        open.generated->child(open.index++, child);
        return platform::kSuccess;
    }
    const std::lock_guard lock(volume().mutex);
    while (open.index < open.count) {
        const Node& node = *open.children[open.index++];
        if (node.removed) continue;
        child.attributes = node.attributes;
        child.reparse_tag = node.reparse_tag;
        child.type_error = fault(node, &NodeFaults::type);
        set_name(child, node.name);
        return platform::kSuccess;
    }
    return platform::kNoMoreFiles;
}

class NumberedFiles : public GeneratedFolder {
public:
    explicit NumberedFiles(std::uint64_t count) : count_(count) {}
    std::uint64_t count() const override { return count_; }
    void child(std::uint64_t index, platform::Child& out) const override {
        out.attributes = kAttributeArchive;
        out.name_units = 9;
        out.name[0] = u'f';
        // Two independent halves: twice as fast as one chain of eight divisions.
        auto high = static_cast<std::uint32_t>(index / 10'000);
        auto low = static_cast<std::uint32_t>(index % 10'000);
        for (int digit = 4; digit > 0; --digit) {
            out.name[digit] = static_cast<char16_t>(u'0' + high % 10);
            out.name[digit + 4] = static_cast<char16_t>(u'0' + low % 10);
            high /= 10;
            low /= 10;
        }
    }

private:
    std::uint64_t count_;
};

class FolderChain : public GeneratedFolder {
public:
    FolderChain(std::u16string_view name, std::uint64_t depth) : name_(name), depth_(depth) {}
    std::uint64_t count() const override { return depth_ > 0 ? 1 : 0; }
    void child(std::uint64_t, platform::Child& out) const override {
        out.attributes = platform::kAttributeDirectory;
        set_name(out, name_);
    }
    std::shared_ptr<const GeneratedFolder> folder(std::u16string_view) const override {
        return depth_ > 0 ? std::make_shared<FolderChain>(name_, depth_ - 1) : nullptr;
    }

private:
    std::u16string name_;
    std::uint64_t depth_;
};

}  // namespace

std::shared_ptr<const GeneratedFolder> GeneratedFolder::folder(std::u16string_view) const {
    return nullptr;
}

void add_generated_folder(std::u16string_view path,
                          std::shared_ptr<const GeneratedFolder> children) {
    const Quiet quiet;
    add_folder(path);
    const std::lock_guard lock(volume().mutex);
    const Location found = locate(path, /*follow_last_link=*/false);
    if (!found.node->children.empty()) throw std::invalid_argument("the folder has children");
    found.node->generated = std::move(children);
}

std::shared_ptr<const GeneratedFolder> numbered_files(std::uint64_t count) {
    return std::make_shared<NumberedFiles>(count);
}

std::shared_ptr<const GeneratedFolder> folder_chain(std::u16string_view name, std::uint64_t depth) {
    return std::make_shared<FolderChain>(name, depth);
}

void set_name(platform::Child& child, std::u16string_view name) {
    child.name_units = static_cast<std::uint32_t>(std::min(name.size(), std::size(child.name)));
    std::memcpy(child.name, name.data(), child.name_units * sizeof(char16_t));
}

}  // namespace system_search::simulated

namespace system_search::platform {

using namespace simulated;

namespace {

// What the platform promises to make of an error of the system.
Error promised(Error error, std::u16string_view folder) {
    return error == kFileNotFound && is_volume_root(folder) ? kNoMoreFiles : error;
}

}  // namespace

Error Enumeration::open(const std::u16string& folder, Child& first) {
    if (allocation_fails()) throw std::bad_alloc();
    const Quiet quiet;
    close();
    if (const Error planned = enter_call(kOpenFolder)) return planned;
    answer_takes(&Latencies::open);
    auto opened = std::make_unique<OpenEnumeration>();
    bool is_root = false;
    {
        const std::lock_guard lock(volume().mutex);
        Location found = locate(folder, /*follow_last_link=*/true);
        // What is asked for is folder\*, so a missing folder is a missing path.
        if (found.error == kFileNotFound) return kPathNotFound;
        if (found.error != 0) return found.error;
        if (found.node ? !found.node->is_folder() : !found.generated) return kInvalidDirectory;
        if (found.node) {
            const Node& node = *found.node;
            if (const Error failure = fault(node, &NodeFaults::open))
                return promised(failure, folder);
            is_root = node.parent == nullptr;
            opened->children = node.children;
            opened->count = node.children.size();
            opened->hooks = node.hooks;
            if (node.hooks) opened->undisturbed = 0;
            opened->next_error = fault(node, &NodeFaults::next);
            if (opened->next_error != 0) {
                opened->next_error_at = std::max<std::uint64_t>(1, node.faults->next_after);
                opened->undisturbed = std::min(opened->undisturbed, opened->next_error_at);
            }
        }
        opened->generated = std::move(found.generated);
    }
    if (opened->generated) opened->count = opened->generated->count();
    if (const Error error = fill(*opened, first)) {
        // The system's own answer, for want of "." and "..".
        const bool is_bare = is_root && error == kNoMoreFiles;
        return promised(is_bare ? kFileNotFound : error, folder);
    }
    handle_ = opened.release();
    const std::uint64_t now_open = volume().open_enumerations.fetch_add(1) + 1;
    std::uint64_t most = volume().most_open_enumerations;
    while (most < now_open &&
           !volume().most_open_enumerations.compare_exchange_weak(most, now_open)) {
    }
    return kSuccess;
}

Error Enumeration::next(Child& child) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kNextChild)) return planned;
    auto& open = *static_cast<OpenEnumeration*>(handle_);
    if (open.index % kChildrenPerRead == 0) answer_takes(&Latencies::read);
    return fill(open, child);
}

void Enumeration::close() noexcept {
    if (handle_ == nullptr) return;
    const Quiet quiet;
    delete static_cast<OpenEnumeration*>(handle_);
    handle_ = nullptr;
    volume().open_enumerations.fetch_sub(1);
}

}  // namespace system_search::platform
