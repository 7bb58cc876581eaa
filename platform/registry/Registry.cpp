#include "platform/registry/Registry.h"

namespace ql::registry {

std::string lowerAscii(std::string_view text) {
    std::string out(text);
    for (auto& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return out;
}

std::string normaliseKeyPath(std::string_view keyPath) {
    std::string out;
    out.reserve(keyPath.size());
    for (char c : keyPath) {
        if (c == '\\' && (out.empty() || out.back() == '\\')) continue;
        out += (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
    }
    while (!out.empty() && out.back() == '\\') out.pop_back();
    return out;
}

void MemoryRegistry::setValue(RootKey root, std::string_view keyPath, std::string_view valueName,
                              Value value) {
    keys_[{root, normaliseKeyPath(keyPath)}][lowerAscii(valueName)] = std::move(value);
}

void MemoryRegistry::setString(RootKey root, std::string_view keyPath, std::string_view valueName,
                               std::string_view text) {
    Value v;
    v.type = kTypeString;
    v.data.assign(text.begin(), text.end());
    v.data.push_back(0);
    setValue(root, keyPath, valueName, std::move(v));
}

void MemoryRegistry::setDWord(RootKey root, std::string_view keyPath, std::string_view valueName,
                              std::uint32_t number) {
    Value v;
    v.type = kTypeDWord;
    for (int i = 0; i < 4; ++i) v.data.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
    setValue(root, keyPath, valueName, std::move(v));
}

void MemoryRegistry::addKey(RootKey root, std::string_view keyPath) {
    keys_[{root, normaliseKeyPath(keyPath)}];
}

bool MemoryRegistry::keyExists(RootKey root, std::string_view keyPath) const {
    return keys_.count({root, normaliseKeyPath(keyPath)}) != 0;
}

std::optional<Value> MemoryRegistry::queryValue(RootKey root, std::string_view keyPath,
                                                std::string_view valueName) const {
    const auto key = keys_.find({root, normaliseKeyPath(keyPath)});
    if (key == keys_.end()) return std::nullopt;
    const auto value = key->second.find(lowerAscii(valueName));
    if (value == key->second.end()) return std::nullopt;
    return value->second;
}

namespace {

constexpr std::string_view kMachineClasses = "software\\classes";

// The classes-root path that `root`/`keyPath` stands for, or nothing.
std::optional<std::string> classesPath(RootKey root, std::string_view keyPath) {
    const auto path = normaliseKeyPath(keyPath);
    if (root == RootKey::ClassesRoot) return path;
    if (root != RootKey::LocalMachine) return std::nullopt;
    if (path == kMachineClasses) return std::string();
    if (path.size() > kMachineClasses.size() && path.compare(0, kMachineClasses.size(), kMachineClasses) == 0 &&
        path[kMachineClasses.size()] == '\\')
        return path.substr(kMachineClasses.size() + 1);
    return std::nullopt;
}

}  // namespace

DesktopRegistry::DesktopRegistry() {
    const auto classes = RootKey::ClassesRoot;
    classes_.setString(classes, ".htm", "", kHtmlClass);
    classes_.setString(classes, std::string(kHtmlClass) + "\\shell\\open\\command", "", kOpener);
    classes_.setString(classes, "http\\shell\\open\\command", "", kOpener);
    for (const char* parent : {"htmlfile", "htmlfile\\shell", "htmlfile\\shell\\open", "http",
                               "http\\shell", "http\\shell\\open"})
        classes_.addKey(classes, parent);
}

bool DesktopRegistry::keyExists(RootKey root, std::string_view keyPath) const {
    const auto path = classesPath(root, keyPath);
    return path && (path->empty() || classes_.keyExists(RootKey::ClassesRoot, *path));
}

std::optional<Value> DesktopRegistry::queryValue(RootKey root, std::string_view keyPath,
                                                 std::string_view valueName) const {
    const auto path = classesPath(root, keyPath);
    if (!path) return std::nullopt;
    return classes_.queryValue(RootKey::ClassesRoot, *path, valueName);
}

}  // namespace ql::registry
