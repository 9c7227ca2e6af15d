// Settings as texts: what the file holds of one, and the list of all with what they accept.
#pragma once

#include <string>
#include <vector>

#include "general/SettingsTable.h"

namespace vorela {

/// The value in the field's place as the file holds it.
std::string TextOfSetting(const SettingField& field);

/// A line for each setting, parted by tabs: "Section.Key", the value in its place (the default, before
/// anything was read), what is accepted. An indexed key has an N for its index.
std::string SettingsList(const std::vector<SettingsSection>& sections);

}  // namespace vorela
