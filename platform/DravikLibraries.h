// The acquisition system's two libraries: loading, the tables of their functions, release.
#pragma once

#include <string>

#include "interfaces/DKBase.h"
#include "interfaces/Smooth32.h"

namespace vorela {

using ModuleHandle = void*;

/// Base names; the platform's module suffix is added (".so" here).
inline constexpr const char* databaseModule = "DKBase.so";
inline constexpr const char* filterModule = "Smooth32.so";

/// Loads BinDir & fileName, joined as they stand, with BinDir as the current directory. Null on failure,
/// after the common error report; the current directory then stays at BinDir.
ModuleHandle LoadDravikDll(const std::string& fileName);
/// True when the library was released; otherwise reported.
bool FreeDravikDll(ModuleHandle handle);

/// Every function of DKBase that the program calls. Filled all or nothing.
struct DkBaseApi {
    decltype(&::DBopenA) DBopenA = nullptr;
    decltype(&::DBclose) DBclose = nullptr;
    decltype(&::DBattachA) DBattachA = nullptr;
    decltype(&::DBdetach) DBdetach = nullptr;
    decltype(&::DBnewA) DBnewA = nullptr;
    decltype(&::DBdeleteA) DBdeleteA = nullptr;
    decltype(&::DBread) DBread = nullptr;
    decltype(&::DBreadpresent) DBreadpresent = nullptr;
    decltype(&::DBwrite) DBwrite = nullptr;
    decltype(&::DBwritepresent) DBwritepresent = nullptr;
    decltype(&::DBinformation) DBinformation = nullptr;
    decltype(&::DBmark) DBmark = nullptr;
    decltype(&::DBbegin) DBbegin = nullptr;
    decltype(&::DBcommit) DBcommit = nullptr;
    decltype(&::DBrollback) DBrollback = nullptr;
    decltype(&::DBenumA) DBenumA = nullptr;
    decltype(&::DBclaimA) DBclaimA = nullptr;
    decltype(&::DBunclaim) DBunclaim = nullptr;
    decltype(&::GetUnitTextA) GetUnitTextA = nullptr;
    decltype(&::DBlastdetail) DBlastdetail = nullptr;
    decltype(&::DBsetchooser) DBsetchooser = nullptr;
    decltype(&::DBselectionadd) DBselectionadd = nullptr;
    decltype(&::InitWin) InitWin = nullptr;
    decltype(&::DBselectA) DBselectA = nullptr;
    decltype(&::DBreleaseMS) DBreleaseMS = nullptr;
    decltype(&::GetDravikSetting) GetDravikSetting = nullptr;
};

struct Smooth32Api {
    decltype(&::CreateSOFilter) CreateSOFilter = nullptr;
    decltype(&::InitSOFilter) InitSOFilter = nullptr;
    decltype(&::GetSOFilterLag) GetSOFilterLag = nullptr;
    decltype(&::ApplySOFilter) ApplySOFilter = nullptr;
    decltype(&::DestroySOFilter) DestroySOFilter = nullptr;
};

/// The loaded libraries of the process.
struct DravikLibraries {
    ModuleHandle databaseHandle = nullptr;
    ModuleHandle filterHandle = nullptr;
    DkBaseApi database;
    Smooth32Api filter;
    /// What the last failed load was about, in words; the report itself has no room for it.
    std::string loadDetail;
};
DravikLibraries& LoadedLibraries();

/// LoadDravikDll and the function table; a missing function is named in the report, the module released again
/// and false returned.
bool LoadDatabaseLibrary();
bool LoadFilterLibrary();
/// Releases both (database first); a failure is reported and the second is released all the same.
void FreeLibraries();

}  // namespace vorela
