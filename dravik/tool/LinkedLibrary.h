#pragma once

namespace dravik {

/// Hands the database functions that are linked into the tool to the client of the library.
void LinkDatabaseLibrary();

}  // namespace dravik
