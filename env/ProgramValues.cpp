#include "env/ProgramValues.h"

#include "env/RegistryValue.h"

namespace ql::env {

ProgramValues ComputeProgramValues(const SystemProbe& probe, const registry::Registry& registry) {
    ProgramValues v;
    v.WindowsVersion = GetWindowsVersion(probe);
    v.WindowsVersionName = GetWindowsVersionName(v.WindowsVersion);
    v.WindowsFolder = GetWindowsFolder(probe);
    v.AccessApplicationClass = GetAccessApplicationClass(registry);
    v.AccessVersion = VersionFromClassName(v.AccessApplicationClass);
    v.LoginUserName = GetLoginUserName(probe);
    v.AccessUserFolder = GetAccessUserFolder(v.LoginUserName, v.WindowsVersion, v.WindowsFolder);
    return v;
}

}  // namespace ql::env
