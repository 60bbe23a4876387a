// Files of the simulated volume: their bytes live in memory, and every change is one step under
// the volume's lock, as it is one step on a real disk.
#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "simulated/tree.hpp"

namespace system_search::simulated {
namespace {

struct OpenFile {
    NodePtr node;  // for its faults
    std::shared_ptr<Contents> contents;
    std::uint64_t position = 0;
};

void* opened(NodePtr node) {
    volume().open_files.fetch_add(1);
    std::shared_ptr<Contents> contents = node->contents;
    return new OpenFile{std::move(node), std::move(contents)};
}

NodePtr new_file(Node& folder, std::u16string_view name) {
    const auto node = std::make_shared<Node>();
    node->name = name;
    node->attributes = kAttributeArchive;
    node->contents = std::make_shared<Contents>();
    attach(folder, node);
    return node;
}

// Why a file that exists may not be replaced, removed or written.
platform::Error refusal(const Node& node) {
    const bool writable = !node.is_folder() && (node.attributes & kAttributeReadOnly) == 0;
    return writable ? platform::kSuccess : platform::kAccessDenied;
}

void store(OpenFile& file, const void* buffer, std::size_t bytes) {
    std::string& all = file.contents->bytes;
    file.contents->declared_size = 0;
    if (all.size() < file.position + bytes) all.resize(file.position + bytes);
    std::memcpy(all.data() + file.position, buffer, bytes);
    file.position += bytes;
}

}  // namespace

std::string read_file(std::u16string_view path) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const Location found = locate(path, /*follow_last_link=*/true);
    if (!found.node || !found.node->contents) throw std::invalid_argument("not a stored file");
    std::string bytes = found.node->contents->bytes;
    bytes.resize(found.node->contents->size());
    return bytes;
}

void write_file(std::u16string_view path, std::string_view bytes) {
    const Quiet quiet;
    if (!exists(path)) add_file(path);
    const std::lock_guard lock(volume().mutex);
    const Location found = locate(path, /*follow_last_link=*/true);
    if (!found.node || !found.node->contents) throw std::invalid_argument("not a stored file");
    found.node->contents = std::make_shared<Contents>(Contents{std::string(bytes), 0});
}

void set_largest_read(std::size_t bytes, std::size_t reads) {
    const std::lock_guard lock(volume().mutex);
    volume().largest_read = bytes;
    volume().reads_cut_short = bytes == 0 ? 0 : reads;
}

void set_disk_room(std::uint64_t bytes) {
    const std::lock_guard lock(volume().mutex);
    volume().disk_room = bytes;
}

void set_partial_writes(bool partial) {
    const std::lock_guard lock(volume().mutex);
    volume().partial_writes = partial;
}

}  // namespace system_search::simulated

namespace system_search::platform {

using namespace simulated;

Error File::open_for_reading(const char16_t* path) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kOpenFile)) return planned;
    const std::lock_guard lock(volume().mutex);
    Location found = locate(path, /*follow_last_link=*/true);
    if (found.error != 0) return found.error;
    if (!found.node || !found.node->contents) return kAccessDenied;  // a folder
    if (const Error failure = fault(*found.node, &NodeFaults::open_file)) return failure;
    handle_ = opened(std::move(found.node));
    return kSuccess;
}

Error File::create(const char16_t* path) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kCreateFile)) return planned;
    const std::lock_guard lock(volume().mutex);
    const ParentLocation place = locate_parent(path);
    if (place.error != 0) return place.error;
    if (!place.folder) return kAccessDenied;  // the root of a drive
    if (place.child) return kFileExists;
    if (const Error failure = fault(*place.folder, &NodeFaults::change_children)) return failure;
    NodePtr node = new_file(*place.folder, place.name);
    handle_ = opened(std::move(node));
    return kSuccess;
}

Error File::read(void* buffer, std::size_t bytes, std::size_t& got) noexcept {
    const Quiet quiet;
    got = 0;
    if (const Error planned = enter_call(kReadFile)) return planned;
    OpenFile& file = *static_cast<OpenFile*>(handle_);
    const std::lock_guard lock(volume().mutex);
    if (const Error failure = fault(*file.node, &NodeFaults::read)) return failure;
    const std::uint64_t size = file.contents->size();
    if (file.position >= size) return kSuccess;
    if (volume().reads_cut_short != 0) {
        --volume().reads_cut_short;
        bytes = std::min(bytes, volume().largest_read);
    }
    got = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, size - file.position));
    const std::string& all = file.contents->bytes;
    std::size_t stored = 0;
    if (file.position < all.size()) {
        stored = std::min<std::size_t>(got, all.size() - file.position);
        std::memcpy(buffer, all.data() + file.position, stored);
    }
    std::memset(static_cast<char*>(buffer) + stored, 0, got - stored);
    file.position += got;
    return kSuccess;
}

Error File::write(const void* buffer, std::size_t bytes) noexcept {
    const Quiet quiet;
    Error failure = enter_call(kWriteFile);
    OpenFile& file = *static_cast<OpenFile*>(handle_);
    Volume& all = volume();
    const std::lock_guard lock(all.mutex);
    if (failure == 0) failure = fault(*file.node, &NodeFaults::write);
    if (failure != 0) {
        if (all.partial_writes) store(file, buffer, bytes / 2);
        return failure;
    }
    const auto fitting = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, all.disk_room));
    store(file, buffer, fitting);
    if (all.disk_room != UINT64_MAX) all.disk_room -= fitting;
    return fitting == bytes ? kSuccess : kDiskFull;
}

Error File::flush() noexcept {
    const Quiet quiet;
    return enter_call(kFlushFile);
}

Error File::close() noexcept {
    if (handle_ == nullptr) return kSuccess;
    const Quiet quiet;
    const Error planned = enter_call(kCloseFile);
    {
        const std::lock_guard lock(volume().mutex);
        delete static_cast<OpenFile*>(handle_);
    }
    handle_ = nullptr;
    volume().open_files.fetch_sub(1);
    return planned;
}

Error remove_file(const char16_t* path) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kRemoveFile)) return planned;
    const std::lock_guard lock(volume().mutex);
    const ParentLocation place = locate_parent(path);
    if (place.error != 0) return place.error;
    if (!place.folder) return kAccessDenied;
    if (!place.child) return kFileNotFound;
    if (const Error refused = refusal(*place.child)) return refused;
    if (const Error failure = fault(*place.child, &NodeFaults::remove)) return failure;
    if (const Error failure = fault(*place.folder, &NodeFaults::change_children)) return failure;
    place.child->removed = true;
    detach(*place.child);
    return kSuccess;
}

Error replace_file(const char16_t* source, const char16_t* destination) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kReplaceFile)) return planned;
    const std::lock_guard lock(volume().mutex);
    const ParentLocation from = locate_parent(source);
    if (from.error != 0) return from.error;
    if (!from.child) return kFileNotFound;
    const ParentLocation to = locate_parent(destination);
    if (to.error != 0) return to.error;
    if (!to.folder || from.child->is_folder()) return kAccessDenied;
    if (from.child == to.child) return kSuccess;
    for (const NodePtr& folder : {from.folder, to.folder}) {
        if (const Error failure = fault(*folder, &NodeFaults::change_children)) return failure;
    }
    if (to.child) {
        if (const Error failure = fault(*to.child, &NodeFaults::replace)) return failure;
        if (const Error refused = refusal(*to.child)) return refused;
        to.child->removed = true;
        detach(*to.child);
    }
    detach(*from.child);
    from.child->name = to.name;
    attach(*to.folder, from.child);
    return kSuccess;
}

Error create_folder(const char16_t* path) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kCreateFolder)) return planned;
    const std::lock_guard lock(volume().mutex);
    const ParentLocation place = locate_parent(path);
    if (place.error != 0) return place.error;
    if (!place.folder) return kAccessDenied;  // what Windows says about the root of a drive
    if (place.child) return kAlreadyExists;
    if (const Error failure = fault(*place.folder, &NodeFaults::change_children)) return failure;
    const auto node = std::make_shared<Node>();
    node->name = place.name;
    node->attributes = kAttributeDirectory;
    attach(*place.folder, node);
    return kSuccess;
}

}  // namespace system_search::platform
