#include "dravik/importer/ControlTexts.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTableWidgetItem>
#include <algorithm>

namespace dravik {

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

QString Automatic(const std::string& found) {
    return found.empty() ? QObject::tr("automatic") : QObject::tr("automatic: %1").arg(Text(found));
}

std::string ChoiceOf(const QComboBox& box) {
    return box.currentIndex() <= automaticRow ? std::string() : box.currentData().toString().toStdString();
}

void ShowChoice(QComboBox& box, const std::string& choice) {
    box.setCurrentIndex(choice.empty() ? automaticRow : std::max(0, box.findData(Text(choice))));
}

void AddChoices(QComboBox& box, const std::vector<std::pair<const char*, const char*>>& choices) {
    box.addItem(Automatic({}), QString());
    for (const auto& [data, shown] : choices)
        box.addItem(QObject::tr(shown), QString::fromUtf8(data));
}

void ShowEntries(QComboBox& box, const Entries& entries, const std::string& choice) {
    bool same = box.count() == static_cast<int>(entries.size());
    for (int i = 0; same && i < box.count(); ++i) {
        const auto& [shown, data] = entries[static_cast<std::size_t>(i)];
        same = box.itemText(i) == shown && box.itemData(i).toString() == data;
    }
    if (!same) {
        box.clear();
        for (const auto& [shown, data] : entries)
            box.addItem(shown, data);
    }
    ShowChoice(box, choice);
}

void ShowText(QLineEdit& line, const std::string& text) {
    if (line.text() != Text(text))
        line.setText(Text(text));
}

QColor MarkOf(Role role) {
    switch (role) {
        case Role::time:
            return {60, 120, 220, 70};
        case Role::leaveOut:
            return {128, 128, 128, 40};
        default:
            return {60, 170, 80, 70};
    }
}

QTableWidgetItem* Cell(const std::string& text, Role role, bool editable) {
    auto* item = new QTableWidgetItem(Text(text));
    item->setBackground(MarkOf(role));
    if (!editable)
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

}  // namespace dravik
