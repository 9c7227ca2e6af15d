// The chooser that a program hands in, and the acquisition system's settings for this process.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "interfaces/DKBase.h"

namespace {

DBChooser currentChooser = nullptr;
void* chooserContext = nullptr;
int32_t depthUnit = 0;

}  // namespace

void DBsetchooser(DBChooser chooser, void* context) {
    currentChooser = chooser;
    chooserContext = context;
}

int32_t DBselectionadd(DBMultiSelect* selection, const char* path) {
    if (selection == nullptr || path == nullptr)
        return DK_NOT_UNDERSTOOD;
    if (selection->count == INT32_MAX)
        return DK_MAXIMUM;
    char* copy = strdup(path);
    if (copy == nullptr)
        return DK_NO_MEMORY;
    const auto count = static_cast<std::size_t>(selection->count);
    auto** paths = static_cast<char**>(std::realloc(selection->paths, (count + 1) * sizeof(char*)));
    if (paths == nullptr) {
        std::free(copy);
        return DK_NO_MEMORY;
    }
    paths[count] = copy;
    selection->paths = paths;
    ++selection->count;
    return DK_OK;
}

void DBreleaseMS(DBMultiSelect* selection) {
    if (selection == nullptr)
        return;
    for (int32_t i = 0; i < selection->count; ++i)
        std::free(selection->paths[i]);
    std::free(selection->paths);
    std::free(selection);
}

int32_t InitWin(int32_t /*reserved*/) {
    return currentChooser != nullptr ? 1 : 0;
}

int32_t DBselectA(DBMultiSelect** selection) {
    if (selection == nullptr)
        return DK_NOT_UNDERSTOOD;
    if (currentChooser == nullptr)
        return DK_NOT_AVAILABLE;
    std::unique_ptr<DBMultiSelect, decltype(&DBreleaseMS)> filled(
        static_cast<DBMultiSelect*>(std::calloc(1, sizeof(DBMultiSelect))), DBreleaseMS);
    if (filled == nullptr)
        return DK_NO_MEMORY;
    try {
        if (currentChooser(chooserContext, filled.get()) == 0 || filled->count == 0)
            return DK_NOT_AVAILABLE;
    } catch (...) {
        return DK_UNSPECIFIED;
    }
    *selection = filled.release();
    return DK_OK;
}

int32_t GetDravikSetting(int32_t number) {
    return number == DK_SETTING_DEPTH_UNIT ? depthUnit : 0;
}

int32_t SetDravikSetting(int32_t number, int32_t value) {
    if (number != DK_SETTING_DEPTH_UNIT || value < 0 || value > 1)
        return DK_NOT_UNDERSTOOD;
    depthUnit = value;
    return DK_OK;
}
