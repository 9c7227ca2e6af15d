#include "dravik/tool/LinkedLibrary.h"

#include "platform/DravikLibraries.h"

namespace dravik {

void LinkDatabaseLibrary() {
    vorela::DkBaseApi& api = vorela::LoadedLibraries().database;
    api.DBopenA = ::DBopenA;
    api.DBclose = ::DBclose;
    api.DBattachA = ::DBattachA;
    api.DBdetach = ::DBdetach;
    api.DBnewA = ::DBnewA;
    api.DBdeleteA = ::DBdeleteA;
    api.DBread = ::DBread;
    api.DBreadpresent = ::DBreadpresent;
    api.DBwrite = ::DBwrite;
    api.DBwritepresent = ::DBwritepresent;
    api.DBinformation = ::DBinformation;
    api.DBmark = ::DBmark;
    api.DBbegin = ::DBbegin;
    api.DBcommit = ::DBcommit;
    api.DBrollback = ::DBrollback;
    api.DBenumA = ::DBenumA;
    api.DBclaimA = ::DBclaimA;
    api.DBunclaim = ::DBunclaim;
    api.GetUnitTextA = ::GetUnitTextA;
    api.DBlastdetail = ::DBlastdetail;
}

}  // namespace dravik
