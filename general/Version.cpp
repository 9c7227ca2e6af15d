#include "general/Version.h"

namespace vorela {

ProgramVersion RunningVersion() {
    return {VORELA_VERSION_MAJOR, VORELA_VERSION_MINOR, VORELA_VERSION_REVISION};
}

std::string PointedVersion(const ProgramVersion& version) {
    return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
           std::to_string(version.revision);
}

std::string VersionLine(const std::string& program) {
    return program + " " + PointedVersion(RunningVersion());
}

}  // namespace vorela
