// The help window: the contents of the help file, with a search.
#pragma once

#include <QWidget>

class QLineEdit;
class QTextBrowser;

namespace vorela {

class dlgHelp : public QWidget {
    Q_OBJECT
  public:
    explicit dlgHelp(QWidget* parent = nullptr);
    /// Loads the file (HTML). False with `problem` when it cannot be read.
    bool Open(const QString& path, QString& problem);

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void FindNext();

    QTextBrowser* text_;
    QLineEdit* find_;
};

}  // namespace vorela
