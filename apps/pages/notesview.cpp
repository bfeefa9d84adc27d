#include "apps/pages/notesview.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/files.h"
#include "Platform/clock.h"
#include "Platform/process.h"
#include "Platform/threads.h"
#include "NorvoTools/HTMLEscape.h"
#include "Resources/pictures.h"
#include "apps/pages/notecard.h"
#include "apps/pages/notefiles.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <functional>

namespace qn {

namespace {

constexpr const WCHAR* kView = u"Software\\Norvo\\Quillonary\\AV";
constexpr const WCHAR* kOrderName = u"dwSort";
constexpr const WCHAR* kDescendingName = u"bDescending";
constexpr const WCHAR* kAllFoldersName = u"ShowAllFolders";

constexpr int kStep = 20; // of a level; pixels at 96 dots an inch

struct Order {
    LONG sort;
    const WCHAR* words;
    bool descending; // the way round that it is mostly wanted
};
constexpr Order kOrders[] = {
    {kNotesBySubject, u"by name", false},      {kNotesByModified, u"by date changed", true},
    {kNotesByCreated, u"by date made", true},  {kNotesBySize, u"by size", true},
    {kNotesByCategory, u"by category", false}, {kNotesByAlarm, u"by alarm", true},
};

LONG ReadOrder() { return static_cast<LONG>(ReadRegistryWithDefault(kView, kOrderName, kNotesBySubject)); }
bool ReadDescending() { return ReadRegistryWithDefault(kView, kDescendingName, 1) != 0; }
void Keep(const WCHAR* name, DWORD value) { SetToRegistry(HKEY_CURRENT_USER, kView, name, value); }

const Order& OrderShown() {
    const auto* found = std::ranges::find(kOrders, ReadOrder(), &Order::sort);
    return found == std::end(kOrders) ? kOrders[0] : *found;
}

// What nobody has settled yet: names from A on, and the documents are open.
void SettleFirstLook() {
    DWORD value = 0;
    if (GetFromRegistry(HKEY_CURRENT_USER, kView, kDescendingName, &value) != 0) Keep(kDescendingName, 0);
    CRegistry states(kFolderStates);
    states.OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
    const std::u16string documents = DocumentsFolder();
    if (states.QueryValue(documents.c_str(), &value) != 0) states.SetValue(documents.c_str(), kFolderOpen);
}

WORD PictureOf(const DATANOTES& row) {
    if (row.m_bFolder) return row.m_bExpanded ? kPictureFolderOpen : kPictureFolder;
    switch (row.m_nKind) {
    case kNoteRecording:
        return kPictureVoice;
    case kNotePmi:
        return kPictureInk;
    case kNoteDatabase:
        return kPictureScribble;
    default:
        return kPictureNote;
    }
}

// Rows get other numbers with each load, but a path stays.
ULONGLONG HashOf(std::u16string_view text) { return std::hash<std::u16string_view>()(text) | 1; }

} // namespace

NotesView::NotesView() : m_data([this] { Loaded(); }, {}) {
    m_data.busy = [this](bool busy) { ShowBusy(busy); };
}

// Nothing tells of files that other programs change.
void NotesView::Begin() {
    if (!std::exchange(m_begun, true)) SettleFirstLook();
    m_data.Reload();
}

void NotesView::CategoriesChosen(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    if (m_begun) m_data.Reload();
}

// Open folders that hold nothing are no list.
void NotesView::Loaded() {
    const auto& list = m_data.Shown().GetList();
    const bool any = std::ranges::any_of(list, [](const DATANOTES* row) {
        return row->m_bFolder ? row->m_nDepth > 0 || !row->m_bExpanded : row->m_nKind != 0;
    });
    m_rows = any ? static_cast<std::size_t>(list.GetCount()) : 0;
    ShowRows();
}

// --- Rows ---------------------------------------------------------------------------------------------------------

// A row that stands for an empty folder has no path.
ULONGLONG NotesView::RowId(std::size_t index) const {
    const DATANOTES& row = Row(index);
    const ULONGLONG hash =
        HashOf(TextOf(row.m_nKind == 0 && !row.m_bFolder ? row.m_pParent->m_bstrPath : row.m_bstrPath));
    return hash + static_cast<ULONGLONG>(row.m_nKind) + (row.m_bFolder ? 1 : 0) + row.m_oidDatabase;
}

int NotesView::Indent(std::size_t index) const {
    const DATANOTES& row = Row(index);
    const int levels = row.m_nDepth + (row.m_bFolder ? 0 : 1); // notes have no arrow
    return std::min(levels * Scaled(kStep), Width() / 3);
}

int NotesView::WrapIndent(std::size_t) const { return Scaled(kStep); }

std::u16string NotesView::RowText(std::size_t index) {
    const DATANOTES& row = Row(index);
    const std::u16string begin = GroundTag(Paint::Window);
    if (IsItem(index)) return begin + NoteText(row);
    const std::u16string title = HTMLEscape(ShownPath(TextOf(row.m_bstrTitle)));
    if (!row.m_bFolder) return begin + FontTag(Paint::Quiet) + title;
    return begin + FontTag(Paint::Text) + PictureTag(row.m_bExpanded ? kPictureOpen : kPictureClosed) + u" " +
           PictureTag(PictureOf(row)) + u" <B>" + title + u"</B>";
}

std::u16string NotesView::NoteText(const DATANOTES& note) const {
    const bool narrow = IsNarrow();
    std::u16string right = SmallFontTag(Paint::Quiet);
    if (note.m_bHasAlarm) right += PictureTag(kPictureReminder) + u" ";
    if (note.m_bPrivate) right += PictureTag(kPicturePrivate) + u" ";
    if (!narrow && note.m_lSize > 0) right += NoteSize(note.m_lSize) + u"   ";
    right += NoteDay(note.m_ftModified, narrow);
    return u"<SPAN>" + right + u"</SPAN>" + FontTag(Paint::Text) + PictureTag(PictureOf(note)) + u" " +
           HTMLEscape(NoteTitle(note));
}

CardText NotesView::CardOf(std::size_t row) { return NoteCard(Row(row)); }

std::vector<MenuRow> NotesView::ItemMenu(std::size_t index) {
    const DATANOTES& note = Row(index);
    const bool file = note.m_nKind != kNoteDatabase;
    return {{u"Open\tEnter", [this] { OpenCurrent(); }},
            {u"Open in another program",
             [this, path = std::u16string(TextOf(note.m_bstrPath))] { OpenElsewhere(path); }, file},
            {u"Delete ...\tDelete", [this] { DeleteCurrent(); }, file}};
}

void NotesView::OpenElsewhere(const std::u16string& path) {
    SHELLEXECUTEINFO info{};
    info.cbSize = sizeof info;
    info.lpFile = path.c_str();
    if (!ShellExecuteEx(&info)) Tell(u"No program opens ", ShownPath(path));
}

std::u16string NotesView::EmptyText() const {
    if (!m_data.Categories().empty())
        return u"No notes of the chosen categories in the open folders.<BR><BR><U><A=all>" +
               FontTag(Paint::Link) + u"Show all categories</A></U>";
    return u"Notes will stand here: texts, drawings and recordings of your documents.<BR>There are none yet."
           u"<BR><BR>The command<BR><B>qn import FILE.txt</B><BR>makes a note of a text.";
}

void NotesView::FillEmpty() {
    if (!m_data.Categories().empty()) ShowCategories({});
}

// --- Folders ------------------------------------------------------------------------------------------------------

void NotesView::Toggle(std::size_t index) {
    DATANOTES& folder = Row(index);
    m_data.Change([&](CNotesThread& notes) { notes.ExpandTreeNode(!folder.m_bExpanded, &folder, true); });
    Loaded();
}

void NotesView::ActOnHeading(std::size_t row) {
    if (Row(row).m_bFolder) Toggle(row);
}

// Right opens and goes in, Left goes out and closes.
bool NotesView::RowKey(std::size_t index, WPARAM key) {
    if (index == kNoRow || (key != VK_LEFT && key != VK_RIGHT)) return false;
    const DATANOTES& row = Row(index);
    const bool open = row.m_bFolder && row.m_bExpanded;
    if (key == VK_RIGHT) {
        if (row.m_bFolder) open ? SelectRow(index + 1) : Toggle(index);
        return true;
    }
    if (open) return Toggle(index), true;
    while (index > 0 && &Row(index) != row.m_pParent) --index;
    if (row.m_pParent) SelectRow(index);
    return true;
}

// --- Order --------------------------------------------------------------------------------------------------------

std::vector<Bar::Cell> NotesView::TitleCells() {
    std::u16string title = u"<B>Notes</B>";
    if (!IsNarrow()) title += u" " + std::u16string(OrderShown().words);
    return {{title + u" \u25BE", 0, [this] { ShowTitleMenu(OrderRows()); }}};
}

std::vector<MenuRow> NotesView::OrderRows() {
    std::vector<MenuRow> rows;
    const Order& shown = OrderShown();
    const bool descending = ReadDescending();
    for (const Order& order : kOrders) {
        std::u16string words = order.words;
        words[0] = u'B';
        rows.push_back(
            {words, [this, &order] { Sort(order.sort, order.descending); }, true, &order == &shown});
    }
    rows.push_back({});
    rows.push_back(
        {u"Descending", [this, &shown, descending] { Sort(shown.sort, !descending); }, true, descending});
    const bool all = ReadRegistryWithDefault(kView, kAllFoldersName, 0) != 0;
    rows.push_back({u"Hidden folders too",
                    [this, all] {
                        Keep(kAllFoldersName, all ? 0 : 1);
                        Reload();
                    },
                    true, all});
    return rows;
}

void NotesView::Sort(LONG order, bool descending) {
    Keep(kOrderName, static_cast<DWORD>(order));
    Keep(kDescendingName, descending ? 1 : 0);
    m_data.Change([](CNotesThread& notes) { notes.SortDataList(); });
    Loaded();
    FillBar();
}

// --- Deleting -----------------------------------------------------------------------------------------------------

bool NotesView::CanDelete() const { return HasItem() && Row(CurrentItem()).m_nKind != kNoteDatabase; }

// A message box serves messages meanwhile: the rows may be others when it is answered.
void NotesView::DeleteCurrent() {
    if (!CanDelete()) return;
    const DATANOTES& note = Row(CurrentItem());
    const std::u16string path(TextOf(note.m_bstrPath)), title = NoteTitle(note);
    if (!AskToDelete(u"Delete \"" + Shortened(title) + u"\"?\n\nYou can undo it.", u"Delete_Note")) return;
    if (const auto deleted = DeletedNote::Delete(path))
        Tell(u"Deleted: ", title, [deleted] { return deleted->Restore(); });
    else if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        Tell(u"It is gone already: ", title);
    else
        Tell(u"Not deleted, as its file can't be changed: ", title);
    Reload();
}

} // namespace qn
