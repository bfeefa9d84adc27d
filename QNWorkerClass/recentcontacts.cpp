#include "QNWorkerClass/recentcontacts.h"

#include "NorvoTools/CePtrList.h"
#include "NorvoTools/listfile.h"
#include "NorvoTools/paths.h"

#include <string>

namespace {

constexpr char kMagic[] = "RECENT101";

std::u16string RecentFile() { return std::u16string(GetNorvoDirectory()) + u"\\Norvo\\RecentContacts.bin"; }

class RecentList : public CePtrList<DWORD> {
public:
    RecentList() : CePtrList(0) { SetDescribe(&CeDescribeNumber<DWORD>); }
};

} // namespace

std::vector<DWORD> ReadRecentContacts() {
    RecentList list;
    ReadListFile(RecentFile().c_str(), kMagic, list);
    return {list.begin(), list.end()};
}

bool MarkRecentContact(DWORD oid) {
    const std::u16string path = RecentFile();
    RecentList list;
    const int code = ReadListFile(path.c_str(), kMagic, list);
    if (code == LISTFILE_SHORT || code == LISTFILE_FORMAT)
        SetListFileAside(path.c_str());
    else if (code != LISTFILE_OK)
        return false;
    while (list.Remove(oid)) {}
    list.Insert(list.GetBase(), oid);
    while (list.Count() > static_cast<int>(kMostRecentContacts)) list.RemoveAt(list.GetLast());
    return WriteListFile(path.c_str(), kMagic, list) == LISTFILE_OK;
}
