// Controls of the import dialog: lists that begin with what is found of itself, cells in the colours of
// roles.
#pragma once

#include <QColor>
#include <QString>
#include <string>
#include <utility>
#include <vector>

#include "dravik/importer/ColumnRoles.h"

class QComboBox;
class QLineEdit;
class QTableWidgetItem;

namespace dravik {

inline constexpr int automaticRow = 0;  ///< of every list of choices

QString Text(const std::string& text);
/// "automatic: ;", or "automatic" while nothing was found.
QString Automatic(const std::string& found);

/// The choice of a list; "" for the automatic one.
std::string ChoiceOf(const QComboBox& box);
void ShowChoice(QComboBox& box, const std::string& choice);
/// Adds the automatic entry and these: data and what is shown.
void AddChoices(QComboBox& box, const std::vector<std::pair<const char*, const char*>>& choices);

using Entries = std::vector<std::pair<QString, QString>>;  ///< shown, data
/// An open list is left alone while its entries stay the same.
void ShowEntries(QComboBox& box, const Entries& entries, const std::string& choice);

/// Without moving the cursor of a user who is typing.
void ShowText(QLineEdit& line, const std::string& text);

/// Through dark and light palettes alike.
QColor MarkOf(Role role);
/// A cell of a column of this role, owned by the table that takes it.
QTableWidgetItem* Cell(const std::string& text, Role role, bool editable = false);

}  // namespace dravik
