// The logic of the category chooser: rows under group headers, their expansion and their checks. Painting and the dialog
// around it stand elsewhere. Main thread.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "QNWorkerClass/categories.h"

#include <string>
#include <vector>

// A row of the chooser: a category, or the header of a group.
struct QN_API CCategoryItemList {
    bool IsHeader() const { return m_nGroup != 0; }

    LONG m_nCheck = 0;
    LONG m_nGroup = 0; // on a header: 1 expanded, -1 collapsed
    LONG m_bVisible = 1;
    DWORD m_oidRecord = 0;
    LONG m_lId = 0;
    LONG m_nGroupIndex = 0;
    std::u16string m_szName;
};

class QN_API CCategoryBase {
public:
    virtual ~CCategoryBase() = default;

    // A name that is no category of the device, offered under a header of its own. Before SetupCategories.
    void AddExtraCategory(const WCHAR* name) { m_extra.emplace_back(name); }
    // Fills the rows: the user's groups, with the categories that one of the kinds of the mask uses (0: all).
    void SetupCategories(DWORD mask);
    // Shows or hides the rows of the header at this index, and keeps that in the settings. False when it is no header.
    bool ExpandGroup(int nIndex, bool bExpand);
    void SortRows() { m_rows.Sort(true); }

    CePtrList<CCategoryItemList*>& GetRows() { return m_rows; }
    bool HasDuplicates() const { return m_bDuplicates; } // a category stands under two groups

    // By group, the header first, checked rows first, then by name.
    static int CompareFunc(CCategoryItemList* const& a, CCategoryItemList* const& b, CEUSER user);

protected:
    CePtrList<CCategoryItemList*> m_rows{0, PTRLIST_DELETE, &CompareFunc};
    bool m_bDuplicates = false;

private:
    struct Group {
        std::u16string szName;
        LONG nIndex;
        std::vector<std::u16string> members;
        bool bCollapsed = false;
    };
    std::vector<Group> ReadGroups(const std::u16string& noneName) const;
    void AddHeader(const std::u16string& name, LONG nIndex, bool bCollapsed);
    void AddRow(const CategoryEntry& category, LONG nIndex, bool bVisible);
    void AddToNoneGroup(const CategoryEntry& category, bool bVisible) { AddRow(category, 0, bVisible); }
    void PlaceCategory(const CategoryEntry& category, const std::vector<Group>& groups, bool bNoneVisible);
    void DropEmptyHeaders();

    std::vector<std::u16string> m_extra;
};

// The chooser of a filter: checks from a chosen set, and a chosen set from the checks.
class QN_API CCategoryFilterDlg : public CCategoryBase {
public:
    // Checks the rows of the chosen names; in all groups when a category can stand in several.
    void SetupChecks(const CFullCategoryList& chosen);
    // The chosen set of the checked rows. A name that the stores don't know joins with the id -1.
    void OnOK(CFullCategoryList& chosen);
    void SetChosenList(std::vector<std::u16string> names, CFullCategoryList& chosen) const;
};
