// What all importers share: how an item is saved, and how the person sees it going on.
#pragma once

#include "apps/qn/store.h"

#include <chrono>
#include <cstdio>
#include <istream>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qn {

// A call of the object model that failed: the item is told of and the next one goes on.
struct SaveFailed {
    HRESULT result;
};
void Check(HRESULT result);
// Why it failed. When nothing that follows could be saved either it is a StoreFailure.
std::string WhyNotSaved(const SaveFailed& failed);

// Saves an item. One that the store has no short number for would be taken for another in lists: it is not kept.
template<class Item>
void SaveItem(Item* item, bool isNew) {
    Check(item->Save());
    LONG oid = 0;
    Check(item->get_Oid(&oid));
    if (!isNew || (static_cast<CEOID>(oid) & ~kOidKindMask) <= kMostItems) return;
    Check(item->Delete());
    throw SaveFailed{kFolderFull};
}

// The value of a text, which deletes the property when it is empty. The text is the caller's.
CEPROPVAL TextProperty(CEPROPID id, std::u16string& text);
void SetText(const Com<IItem>& item, CEPROPID property, const std::string& text);
template<class Item>
void SetNote(Item* item, std::vector<BYTE> note) {
    const CEBLOB ink{static_cast<DWORD>(note.size()), note.data()};
    Check(item->put_BodyInk(&ink));
}

// The categories of items as the store takes them. It looks at all categories for each name: a file that makes one of
// every item must end, too.
class CategoryNames {
public:
    // "Work, Home"; what is left out is counted.
    std::string Join(const std::vector<std::string>& names, unsigned& leftOut);

private:
    std::set<std::string> m_names; // that items of this file got
};

// Saves inside are one transaction; what was not committed is taken back.
class Batch {
public:
    explicit Batch(IPOutlookApp2* app);
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    void Commit();

private:
    IPOutlookApp2* m_app;
    bool m_open = false;
};
inline constexpr std::size_t kBatch = 500; // items saved in one transaction

// One line on a terminal, drawn over and over; nothing elsewhere.
class Progress {
public:
    explicit Progress(bool wanted);
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void Show(const char* what, std::size_t done, std::size_t all);
    void Clear();

private:
    bool m_on;
    bool m_drawn = false;
    unsigned m_percent = 0;
    const char* m_what = nullptr;
};

class Stopwatch {
public:
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

// A file that is read once, or standard input ("-").
class InputFile {
public:
    explicit InputFile(const std::string& name); // a Failure when it can't be opened
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    std::istream& Stream() { return m_stream; }
    // What the file begins with, without taking it.
    std::string_view Head();
    const std::string& Name() const { return m_shown; } // for messages
    std::size_t Size() const { return m_size; }         // 0 when it isn't known

private:
    class Buffer;
    std::string m_shown;
    std::size_t m_size = 0;
    std::unique_ptr<std::istream> m_file;
    std::unique_ptr<Buffer> m_buffer;
    std::istream m_stream;
};

struct ImportWishes {
    LONG horizonYears = 5;
    bool quiet = false;
    bool timing = false;
};

// --- The summary --------------------------------------------------------------------------------------------------

// "  3 tasks were there", "  1 task was there": the noun, and what follows for one and for many.
void PrintCount(unsigned number, const char* noun, const char* one, const char* many);
inline constexpr const char* kWasThere = " was there and is up to date";
inline constexpr const char* kWereThere = " were there and are up to date";

// The first of many, and how many more there are.
template<class List, class Print>
void PrintSome(const List& list, const char* what, Print print) {
    constexpr std::size_t kMost = 20;
    for (std::size_t i = 0; i < list.size() && i < kMost; ++i) print(list[i]);
    if (list.size() > kMost) std::printf("  and %zu more %s\n", list.size() - kMost, what);
}

// The importers of one file each; true when nothing of it was skipped or broken.
bool ImportCalendar(Store& store, InputFile& file, const ImportWishes& wishes, Progress& progress);
bool ImportCards(Store& store, InputFile& file, const ImportWishes& wishes, Progress& progress);
bool ImportNote(InputFile& file, const std::string& path, const ImportWishes& wishes);

} // namespace qn
