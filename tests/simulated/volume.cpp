// The tree of the simulated volume: how tests build it, how a path finds its node, and what the
// platform says about one.
#include "simulated/volume.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "simulated/tree.hpp"
#include "simulated/waits.hpp"

namespace system_search::simulated {
namespace {

// As many links as Windows follows before it says that they lead in a circle.
constexpr int kMostLinks = 63;

std::invalid_argument bad_path(const char* what, std::u16string_view path) {
    std::string text = std::string("simulated volume: ") + what + ": ";
    for (const char16_t unit : path) text += unit < 0x80 ? static_cast<char>(unit) : '?';
    return std::invalid_argument(text);
}

NodePtr root_of(const ParsedPath& path, bool create) {
    Volume& all = volume();
    const auto found = all.roots.find(std::u16string(path.root));
    if (found != all.roots.end()) return found->second;
    if (!create) return nullptr;
    const auto root = std::make_shared<Node>();
    root->name = path.root;
    root->attributes = platform::kAttributeDirectory;
    all.roots.emplace(root->name, root);
    return root;
}

// The node of a path without following links; with `create`, missing folders on the way and a
// missing last node are made, the latter a folder for the caller to change.
NodePtr stored_node(std::u16string_view path, bool create, bool* created = nullptr) {
    ParsedPath parsed;
    parse(path, volume().current_folder, parsed);
    if (parsed.error != 0) throw bad_path("not a path", path);
    NodePtr node = root_of(parsed, create);
    for (std::size_t i = 0; node && i < parsed.names.size(); ++i) {
        const std::u16string_view name = parsed.names[i];
        const auto found = node->by_name.find(name);
        if (found != node->by_name.end()) {
            node = found->second;
            continue;
        }
        if (!create) return nullptr;
        if (!node->is_folder() || node->is_link() || node->generated) {
            throw bad_path("not below a stored folder", path);
        }
        if (name.size() >= std::size(platform::Child{}.name)) throw bad_path("name too long", path);
        const auto child = std::make_shared<Node>();
        child->name = name;
        child->attributes = platform::kAttributeDirectory;
        attach(*node, child);
        node = child;
        if (created != nullptr && i + 1 == parsed.names.size()) *created = true;
    }
    return node;
}

NodePtr new_node(std::u16string_view path) {
    bool created = false;
    NodePtr node = stored_node(path, /*create=*/true, &created);
    if (!created) throw bad_path("exists already", path);
    return node;
}

NodePtr existing_node(std::u16string_view path) {
    NodePtr node = stored_node(path, /*create=*/false);
    if (!node) throw bad_path("does not exist", path);
    return node;
}

void add_link(std::u16string_view path, std::uint32_t attributes, std::uint32_t tag,
              std::u16string_view target) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = new_node(path);
    node->attributes = attributes | platform::kAttributeReparsePoint;
    node->reparse_tag = tag;
    if (!target.empty()) node->target = target;
}

void mark_removed(Node& node) {
    std::vector<Node*> pending{&node};
    while (!pending.empty()) {
        Node& next = *pending.back();
        pending.pop_back();
        next.removed = true;
        for (const NodePtr& child : next.children) pending.push_back(child.get());
    }
}

Location locate_generated(std::shared_ptr<const GeneratedFolder> folder, const ParsedPath& path,
                          std::size_t first) {
    for (std::size_t i = first; i < path.names.size(); ++i) {
        folder = folder->folder(path.names[i]);
        if (!folder && i + 1 < path.names.size())
            return {platform::kPathNotFound, nullptr, nullptr};
    }
    return {platform::kSuccess, nullptr, std::move(folder)};
}

// The path that a link makes of `path`, whose name number `at` it is.
std::u16string follow(const Node& link, const ParsedPath& path, std::size_t at) {
    std::u16string whole;
    const std::u16string& target = *link.target;
    const bool rooted =
        target[0] == u'\\' || target[0] == u'/' || (target.size() >= 2 && target[1] == u':');
    if (!rooted) {
        whole = path.prefix;
        for (std::size_t i = 0; i < at; ++i) whole.append(u"\\").append(path.names[i]);
        whole += u'\\';
    }
    whole += target;
    for (std::size_t i = at + 1; i < path.names.size(); ++i) {
        whole.append(u"\\").append(path.names[i]);
    }
    return whole;
}

}  // namespace

Volume& volume() {
    // Never destroyed: threads of a failing test may outlive main.
    static Volume& only = *new Volume;
    return only;
}

void attach(Node& parent, const NodePtr& child) {
    child->parent = &parent;
    parent.children.push_back(child);
    parent.by_name.emplace(child->name, child);
}

void detach(Node& child) {
    Node& parent = *child.parent;
    child.parent = nullptr;
    parent.by_name.erase(child.name);
    std::erase_if(parent.children, [&](const NodePtr& one) { return one.get() == &child; });
}

Location locate(std::u16string_view path, bool follow_last_link) {
    std::u16string followed;
    for (int links = 0; links <= kMostLinks; ++links) {
        ParsedPath parsed;
        parse(path, volume().current_folder, parsed);
        if (parsed.error != 0) return {parsed.error, nullptr, nullptr};
        NodePtr node = root_of(parsed, /*create=*/false);
        if (!node) {
            return {parsed.is_share ? platform::kBadNetworkPath : platform::kPathNotFound, nullptr,
                    nullptr};
        }
        bool at_link = false;
        for (std::size_t i = 0; i < parsed.names.size(); ++i) {
            if (node->generated) return locate_generated(node->generated, parsed, i);
            const bool last = i + 1 == parsed.names.size();
            const auto found = node->by_name.find(parsed.names[i]);
            if (found == node->by_name.end()) {
                platform::Error error = last ? platform::kFileNotFound : platform::kPathNotFound;
                if (!node->is_folder()) error = platform::kPathNotFound;
                if (!is_valid_name(parsed.names[i])) error = platform::kInvalidName;
                return {error, nullptr, nullptr};
            }
            node = found->second;
            if (!node->is_link() || (last && !follow_last_link)) continue;
            if (!node->target) {
                return {last ? platform::kFileNotFound : platform::kPathNotFound, nullptr, nullptr};
            }
            // Built aside: `parsed` may point into what is replaced.
            std::u16string next = follow(*node, parsed, i);
            followed.swap(next);
            path = followed;
            at_link = true;
            break;
        }
        if (at_link) continue;
        if (parsed.ends_with_separator && !node->is_folder()) {
            return {platform::kInvalidName, nullptr, nullptr};
        }
        std::shared_ptr<const GeneratedFolder> generated = node->generated;
        return {platform::kSuccess, std::move(node), std::move(generated)};
    }
    return {platform::kCannotResolveName, nullptr, nullptr};
}

ParentLocation locate_parent(std::u16string_view path) {
    ParentLocation result;
    ParsedPath parsed;
    parse(path, volume().current_folder, parsed);
    if (parsed.error != 0) {
        result.error = parsed.error;
        return result;
    }
    if (parsed.names.empty()) {
        result.error = locate(path, /*follow_last_link=*/false).error;
        return result;
    }
    std::u16string folder(parsed.prefix);
    folder += u'\\';
    for (std::size_t i = 0; i + 1 < parsed.names.size(); ++i) {
        folder.append(parsed.names[i]).append(u"\\");
    }
    Location found = locate(folder, /*follow_last_link=*/true);
    const std::u16string_view name = parsed.names.back();
    result.name = name;
    if (found.error != 0) {
        result.error =
            found.error == platform::kFileNotFound || found.error == platform::kInvalidName
                ? platform::kPathNotFound
                : found.error;
    } else if (!found.node || !found.node->is_folder()) {
        result.error = platform::kPathNotFound;
    } else if (found.node->generated) {
        result.error = platform::kAccessDenied;
    } else {
        const auto child = found.node->by_name.find(name);
        if (child != found.node->by_name.end()) {
            result.child = child->second;
        } else if (!is_valid_name(name)) {
            result.error = platform::kInvalidName;
        }
        result.folder = std::move(found.node);
    }
    return result;
}

// ---- Building the tree --------------------------------------------------------------------------

void reset() {
    const Quiet quiet;
    reset_faults();
    reset_waits();
    Volume& all = volume();
    const std::lock_guard lock(all.mutex);
    all.roots.clear();
    all.drives.clear();
    all.current_folder = u"C:\\";
    all.reads_cut_short = 0;
    all.disk_room = UINT64_MAX;
    all.partial_writes = false;
    all.clock_is_frozen = false;
    all.most_open_enumerations = 0;
    all.slept_milliseconds = 0;
}

void add_folder(std::u16string_view path) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    if (!stored_node(path, /*create=*/true)->is_folder()) throw bad_path("not a folder", path);
}

void add_file(std::u16string_view path, std::uint64_t size, std::uint64_t last_write) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = new_node(path);
    node->attributes = kAttributeArchive;
    node->last_write = last_write;
    node->contents = std::make_shared<Contents>();
    node->contents->declared_size = size;
}

void add_junction(std::u16string_view path, std::u16string_view target) {
    add_link(path, platform::kAttributeDirectory, platform::kTagMountPoint, target);
}

void add_folder_symlink(std::u16string_view path, std::u16string_view target) {
    add_link(path, platform::kAttributeDirectory, platform::kTagSymbolicLink, target);
}

void add_file_symlink(std::u16string_view path, std::u16string_view target) {
    add_link(path, kAttributeArchive, platform::kTagSymbolicLink, target);
}

void set_type(std::u16string_view path, std::uint32_t attributes, std::uint32_t reparse_tag) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = stored_node(path, /*create=*/true);
    node->attributes = attributes;
    node->reparse_tag = reparse_tag;
    if (!node->is_folder() && !node->contents) node->contents = std::make_shared<Contents>();
}

void set_last_write(std::u16string_view path, std::uint64_t last_write) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    existing_node(path)->last_write = last_write;
}

void set_read_only(std::u16string_view path, bool read_only) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = existing_node(path);
    node->attributes = (node->attributes & ~kAttributeReadOnly) | (read_only ? 1u : 0u);
}

bool exists(std::u16string_view path) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    return locate(path, /*follow_last_link=*/false).error == 0;
}

void remove_tree(std::u16string_view path) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = stored_node(path, /*create=*/false);
    if (!node) return;
    mark_removed(*node);
    if (node->parent != nullptr) {
        detach(*node);
    } else {
        volume().roots.erase(node->name);
    }
}

void rename(std::u16string_view from, std::u16string_view to) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = existing_node(from);
    const ParentLocation there = locate_parent(to);
    if (node->parent == nullptr || there.error != 0 || !there.folder || there.child) {
        throw bad_path("cannot be renamed to", to);
    }
    detach(*node);
    node->name = there.name;
    attach(*there.folder, node);
}

std::vector<std::u16string> list_names(std::u16string_view folder) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    std::vector<std::u16string> names;
    for (const NodePtr& child : existing_node(folder)->children) names.push_back(child->name);
    return names;
}

void set_current_folder(std::u16string_view path) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    volume().current_folder = path;
}

void set_faults(std::u16string_view path, const NodeFaults& faults) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    existing_node(path)->faults = std::make_unique<NodeFaults>(faults);
}

void on_child(std::u16string_view folder, std::uint64_t index, std::function<void()> hook) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    const NodePtr node = existing_node(folder);
    // Copied, never changed: open enumerations read their list without the lock.
    auto hooks =
        node->hooks ? std::make_shared<ChildHooks>(*node->hooks) : std::make_shared<ChildHooks>();
    hooks->emplace_back(index, std::move(hook));
    node->hooks = std::move(hooks);
}

void add_drive(std::u16string_view root, std::uint32_t type) {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    stored_node(root, /*create=*/true);
    volume().drives.emplace_back(root, type);
}

void freeze_clock(std::int64_t nanoseconds) {
    const std::lock_guard lock(volume().mutex);
    volume().clock = nanoseconds;
    volume().clock_is_frozen = true;
}

std::uint64_t most_open_enumerations() {
    return volume().most_open_enumerations;
}

std::uint64_t slept_milliseconds() {
    const std::lock_guard lock(volume().mutex);
    return volume().slept_milliseconds;
}

OpenHandles open_handles() {
    const Volume& all = volume();
    return {all.open_enumerations.load(), all.open_files.load(), all.threads.load()};
}

}  // namespace system_search::simulated

// ---- What the platform says about a path --------------------------------------------------------

namespace system_search::platform {

using namespace simulated;

std::uint32_t attributes(const char16_t* path) {
    const Quiet quiet;
    if (enter_call(kAttributes) != 0) return kInvalidAttributes;
    answer_takes(&Latencies::attributes);
    const std::lock_guard lock(volume().mutex);
    const Location found = locate(path, /*follow_last_link=*/false);
    if (found.error != 0) return kInvalidAttributes;
    if (!found.node) return found.generated ? kAttributeDirectory : kAttributeArchive;
    if (fault(*found.node, &NodeFaults::attributes) != 0) return kInvalidAttributes;
    return found.node->attributes;
}

// A fault of the node decides the answer; false when it has none.
static bool status_fault(const Location& place, Status& out, Error& error) {
    if (!place.node || !place.node->faults) return false;
    const NodeFaults& faults = *place.node->faults;
    if (faults.status == 0 && !faults.status_result) return false;
    error = faults.status;
    if (error == 0) out = *faults.status_result;
    return true;
}

// A device prefix and a name without a separator behind it: the drive, and not its root folder.
bool is_device(std::u16string_view path) {
    ParsedPath parsed;
    parse(path, volume().current_folder, parsed);
    return parsed.error == 0 && !parsed.is_share && parsed.prefix.size() > parsed.root.size() &&
           parsed.names.empty() && !parsed.ends_with_separator;
}

Error status_following_links(const char16_t* path, Status& out) noexcept {
    const Quiet quiet;
    if (const Error planned = enter_call(kStatus)) return planned;
    const std::lock_guard lock(volume().mutex);
    if (is_device(path)) {
        out = {kAttributeDevice, 0};
        return kSuccess;
    }
    Error error = kSuccess;
    // A link may be refused before what it leads to is looked at.
    if (status_fault(locate(path, /*follow_last_link=*/false), out, error)) return error;
    const Location found = locate(path, /*follow_last_link=*/true);
    if (status_fault(found, out, error)) return error;
    if (found.error != 0) return found.error;
    if (!found.node) {
        out = {found.generated ? kAttributeDirectory : kAttributeArchive, 0};
    } else {
        const bool reparse = (found.node->attributes & kAttributeReparsePoint) != 0;
        out = {found.node->attributes, reparse ? found.node->reparse_tag : 0};
    }
    return kSuccess;
}

Error file_information(const char16_t* path, FileInformation& out) {
    const Quiet quiet;
    if (const Error planned = enter_call(kFileInformation)) return planned;
    const std::lock_guard lock(volume().mutex);
    const Location found = locate(path, /*follow_last_link=*/false);
    if (found.error != 0) return found.error;
    if (!found.node) {
        out = {found.generated ? kAttributeDirectory : kAttributeArchive, 0, kDefaultLastWrite};
        return kSuccess;
    }
    if (const Error failure = fault(*found.node, &NodeFaults::file_information)) return failure;
    out.attributes = found.node->attributes;
    out.size = found.node->contents ? found.node->contents->size() : 0;
    out.last_write = found.node->last_write;
    return kSuccess;
}

std::string error_message(Error error) {
    switch (error) {
        case kFileNotFound:
            return "The system cannot find the file specified.";
        case kPathNotFound:
            return "The system cannot find the path specified.";
        case kAccessDenied:
            return "Access is denied.";
        case kNotEnoughMemory:
            return "Not enough memory resources are available to process this command.";
        case kDiskFull:
            return "There is not enough space on the disk.";
        case kInvalidName:
            return "The filename, directory name, or volume label syntax is incorrect.";
        case kAlreadyExists:
            return "Cannot create a file when that file already exists.";
        default:
            return "System error " + std::to_string(error) + ".";
    }
}

// ---- Drives -------------------------------------------------------------------------------------

std::uint32_t drive_strings(char16_t* buffer, std::uint32_t capacity_units) noexcept {
    const Quiet quiet;
    if (enter_call(kDriveStrings) != 0) return 0;
    const std::lock_guard lock(volume().mutex);
    std::u16string list;
    for (const auto& [root, type] : volume().drives) list.append(root).push_back(u'\0');
    const auto units = static_cast<std::uint32_t>(list.size());
    if (units + 1 > capacity_units) return units + 1;
    std::memcpy(buffer, list.c_str(), (units + 1) * sizeof(char16_t));
    return units;
}

std::uint32_t drive_type(const char16_t* root) noexcept {
    const Quiet quiet;
    const std::lock_guard lock(volume().mutex);
    for (const auto& [one, type] : volume().drives) {
        if (NameEqual{}(one, root)) return type;
    }
    return 1;  // no such root
}

}  // namespace system_search::platform
