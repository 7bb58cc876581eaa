#pragma once
// Read access to a registry of keys and typed values, the way the program's
// probes use it: open a key under a root, query one value (the empty name is
// the key's default value). Key paths use "\" between parts and match
// without regard to ASCII case, as on Windows.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ql::registry {

enum class RootKey : std::uint32_t {
    ClassesRoot = 0x80000000u,
    CurrentUser = 0x80000001u,
    LocalMachine = 0x80000002u,
    Users = 0x80000003u,
};

// Value type codes as the registry stores them.
inline constexpr std::uint32_t kTypeString = 1;
inline constexpr std::uint32_t kTypeExpandString = 2;
inline constexpr std::uint32_t kTypeBinary = 3;
inline constexpr std::uint32_t kTypeDWord = 4;

struct Value {
    std::uint32_t type = kTypeString;
    std::vector<std::uint8_t> data;  // raw bytes; text values include their terminating zero
};

class Registry {
public:
    virtual ~Registry() = default;
    virtual bool keyExists(RootKey root, std::string_view keyPath) const = 0;
    // Nothing when the key or the value is missing.
    virtual std::optional<Value> queryValue(RootKey root, std::string_view keyPath,
                                            std::string_view valueName) const = 0;
};

// "Software\\Foo\\" and "software\foo" name the same key.
std::string normaliseKeyPath(std::string_view keyPath);
std::string lowerAscii(std::string_view text);

// A registry held in memory; tests and the Linux view fill it.
class MemoryRegistry : public Registry {
public:
    void setValue(RootKey root, std::string_view keyPath, std::string_view valueName, Value value);
    // A text value stored as the registry stores it, with its terminating zero.
    void setString(RootKey root, std::string_view keyPath, std::string_view valueName,
                   std::string_view text);
    // A double word, stored little-endian.
    void setDWord(RootKey root, std::string_view keyPath, std::string_view valueName,
                  std::uint32_t number);
    // A key that exists without values.
    void addKey(RootKey root, std::string_view keyPath);

    bool keyExists(RootKey root, std::string_view keyPath) const override;
    std::optional<Value> queryValue(RootKey root, std::string_view keyPath,
                                    std::string_view valueName) const override;

private:
    using Key = std::pair<RootKey, std::string>;
    std::map<Key, std::map<std::string, Value>> keys_;  // value names lower-cased
};

// The registry as the program sees it on a Linux desktop: read-only, and it
// answers only the desktop equivalents the program asks for. The ".htm" file
// class and the "http" protocol open with the desktop's opener, xdg-open;
// every other key is absent, so the Office, Access, Excel and system
// information probes take their fallbacks. The classes root is also reached
// as "SOFTWARE\Classes" under the local machine, as on Windows.
class DesktopRegistry : public Registry {
public:
    DesktopRegistry();
    bool keyExists(RootKey root, std::string_view keyPath) const override;
    std::optional<Value> queryValue(RootKey root, std::string_view keyPath,
                                    std::string_view valueName) const override;

    static constexpr std::string_view kHtmlClass = "htmlfile";
    static constexpr std::string_view kOpener = "xdg-open";

private:
    MemoryRegistry classes_;
};

}  // namespace ql::registry
