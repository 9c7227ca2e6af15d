// A database that comes into being only with what it is made for.
#pragma once

#include <string>

namespace dravik {

/// Renames a file, never over one that is there. False otherwise, with the reason in errno.
bool GiveNewName(const std::string& from, const std::string& to);

/// Where there is no file of that name, work goes on under a name of its own beside it, which only Publish
/// gives the name asked for; without Publish nothing is left. An existing file is used as it is. What killed
/// processes left of such work is removed.
class NewDatabase {
  public:
    explicit NewDatabase(std::string path);
    ~NewDatabase();
    NewDatabase(const NewDatabase&) = delete;
    NewDatabase& operator=(const NewDatabase&) = delete;

    /// Of the file to work on.
    const std::string& WorkPath() const { return work_; }
    /// When it is closed. Throws DatasetError when another file has got the name meanwhile.
    void Publish();
    /// A message about the file as the user knows it.
    std::string Shown(std::string message) const;

  private:
    std::string path_;
    std::string work_;
};

}  // namespace dravik
