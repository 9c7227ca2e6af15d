// The version of the programs: one for all, as the build's project() line states it.
#pragma once

#include <string>

namespace vorela {

struct ProgramVersion {
    int major = 0;
    int minor = 0;
    int revision = 0;
};

ProgramVersion RunningVersion();
/// With points between: {1, 0, 5} is "1.0.5".
std::string PointedVersion(const ProgramVersion& version);
/// What `program --version` prints, without a line end: "dravik 1.0.5".
std::string VersionLine(const std::string& program);

}  // namespace vorela
