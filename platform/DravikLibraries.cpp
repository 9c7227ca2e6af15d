#include "platform/DravikLibraries.h"

#include <dlfcn.h>

#include <filesystem>

#include "general/modGeneral.h"
#include "platform/Registry.h"

namespace vorela {
namespace {

constexpr const char* loadStep = "Error loading Dravik DLL";
constexpr const char* freeStep = "Error freeing Dravik DLLs";
constexpr const char* servicesKey = R"(System\CurrentControlSet\Services\DKBASE)";

/// Looks one function up; the first missing one is kept by name.
class SymbolTable {
  public:
    explicit SymbolTable(ModuleHandle module) : module_(module) {}

    template <typename Function>
    void Resolve(Function*& function, const char* name) {
        function = reinterpret_cast<Function*>(dlsym(module_, name));
        if (!function && missing_.empty())
            missing_ = name;
    }
    const std::string& Missing() const { return missing_; }

  private:
    ModuleHandle module_;
    std::string missing_;
};

void ResolveAll(SymbolTable& symbols, DkBaseApi& api) {
#define VORELA_RESOLVE(name) symbols.Resolve(api.name, #name)
    VORELA_RESOLVE(DBopenA);
    VORELA_RESOLVE(DBclose);
    VORELA_RESOLVE(DBattachA);
    VORELA_RESOLVE(DBdetach);
    VORELA_RESOLVE(DBnewA);
    VORELA_RESOLVE(DBdeleteA);
    VORELA_RESOLVE(DBread);
    VORELA_RESOLVE(DBreadpresent);
    VORELA_RESOLVE(DBwrite);
    VORELA_RESOLVE(DBwritepresent);
    VORELA_RESOLVE(DBinformation);
    VORELA_RESOLVE(DBmark);
    VORELA_RESOLVE(DBbegin);
    VORELA_RESOLVE(DBcommit);
    VORELA_RESOLVE(DBrollback);
    VORELA_RESOLVE(DBenumA);
    VORELA_RESOLVE(DBclaimA);
    VORELA_RESOLVE(DBunclaim);
    VORELA_RESOLVE(GetUnitTextA);
    VORELA_RESOLVE(DBlastdetail);
    VORELA_RESOLVE(DBsetchooser);
    VORELA_RESOLVE(DBselectionadd);
    VORELA_RESOLVE(InitWin);
    VORELA_RESOLVE(DBselectA);
    VORELA_RESOLVE(DBreleaseMS);
    VORELA_RESOLVE(GetDravikSetting);
}

void ResolveAll(SymbolTable& symbols, Smooth32Api& api) {
    VORELA_RESOLVE(CreateSOFilter);
    VORELA_RESOLVE(InitSOFilter);
    VORELA_RESOLVE(GetSOFilterLag);
    VORELA_RESOLVE(ApplySOFilter);
    VORELA_RESOLVE(DestroySOFilter);
#undef VORELA_RESOLVE
}

template <typename Api>
bool LoadLibrary(const std::string& fileName, ModuleHandle& handle, Api& api) {
    handle = LoadDravikDll(fileName);
    if (!handle)
        return false;
    SymbolTable symbols(handle);
    Api resolved;
    ResolveAll(symbols, resolved);
    if (!symbols.Missing().empty()) {
        SetCurrentError(
            {error_number::invalidProcedureCall, fileName, "function " + symbols.Missing() + " is missing"});
        ReportError(loadStep);
        dlclose(handle);
        handle = nullptr;
        return false;
    }
    api = resolved;
    return true;
}

}  // namespace

ModuleHandle LoadDravikDll(const std::string& fileName) {
    ClearCurrentError();
    const std::string binDir = ReadRegistryString(RegistryRoot::localMachine, servicesKey, "BinDir");
    if (!binDir.empty()) {
        std::error_code failed;
        const std::filesystem::path before = std::filesystem::current_path(failed);
        std::filesystem::current_path(binDir, failed);
        if (!failed) {
            // BinDir is current while loading, so that the libraries which these in turn need are found
            // beside them.
            if (ModuleHandle handle = dlopen((binDir + fileName).c_str(), RTLD_NOW | RTLD_LOCAL)) {
                std::filesystem::current_path(before, failed);
                return handle;
            }
            LoadedLibraries().loadDetail = dlerror();
        } else {
            LoadedLibraries().loadDetail = binDir + ": " + failed.message();
        }
    } else {
        const std::string file = RegistryFilePath();
        LoadedLibraries().loadDetail = "no BinDir text in " + (file.empty() ? "any registry file" : file);
    }
    // A library that does not load is no run-time error: the report stays "Error #0" without a description.
    // What the loader said is kept for standard error.
    ClearCurrentError();
    // The current directory is left at BinDir: the program ends after a failed load.
    ReportError(loadStep);
    return nullptr;
}

bool FreeDravikDll(ModuleHandle handle) {
    ClearCurrentError();
    if (handle && dlclose(handle) == 0)
        return true;
    ReportError(freeStep);
    return false;
}

DravikLibraries& LoadedLibraries() {
    static DravikLibraries libraries;
    return libraries;
}

bool LoadDatabaseLibrary() {
    return LoadLibrary(databaseModule, LoadedLibraries().databaseHandle, LoadedLibraries().database);
}

bool LoadFilterLibrary() {
    return LoadLibrary(filterModule, LoadedLibraries().filterHandle, LoadedLibraries().filter);
}

void FreeLibraries() {
    DravikLibraries& libraries = LoadedLibraries();
    for (ModuleHandle* handle : {&libraries.databaseHandle, &libraries.filterHandle}) {
        if (*handle)
            FreeDravikDll(*handle);
        *handle = nullptr;
    }
    libraries.database = {};
    libraries.filter = {};
}

}  // namespace vorela
