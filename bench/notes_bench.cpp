// 2,000 note files in 200 open folders, half of them with attributes: loading the list, sorting it again, searching the bodies;
// a folder of 10,000 files. Processor time, the least of several runs; the first load of a device is told apart, since the
// device gives each file its number then. Ends with 1 when a figure is over its limit.
#include "NorvoTools/CRegistry.h"
#include "NorvoTools/registryfunctions.h"
#include "QNWorkerClass/notesthread.h"
#include "bench/figures.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace {

class Device {
public:
    Device(int folders, int files) {
        CRegistry states(u"%s\\Norvo\\NoteFolderState.txt"), notes(u"%s\\Norvo\\NoteData.txt");
        states.OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
        states.SetValue(u"\\My Documents", kFolderOpen);
        for (int folder = 0; folder < folders; ++folder) {
            const std::string name = "Folder " + std::to_string(folder);
            const std::u16string device = u"\\My Documents\\" + std::u16string(name.begin(), name.end());
            states.SetValue(device.c_str(), kFolderOpen);
            std::filesystem::create_directories(m_device.Folder() + "/My Documents/" + name);
            for (int file = 0; file < files / folders; ++file) AddNote(notes, name, device, file);
        }
    }
    ~Device() { CRegistry::INIFileCache.Clear(); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

private:
    void AddNote(CRegistry& notes, const std::string& folder, const std::u16string& device, int file) {
        const std::string name = "Note number " + std::to_string(file * 7919 % 10007) + ".txt";
        std::ofstream(m_device.Folder() + "/My Documents/" + folder + "/" + name)
            << std::string(1000, 'x') << " needle";
        if (file % 2) return;
        notes.OpenKey(HKEY_CURRENT_USER, (device + u"\\" + std::u16string(name.begin(), name.end())).c_str());
        notes.SetValue(u"Category", u"Work");
        notes.SetValue(u"Private", DWORD{0});
    }
    TemporaryDevice m_device;
};

void Load(CNotesThread& thread, int least) {
    thread.NotesThreadProc(nullptr, true);
    if (thread.GetList().GetCount() < least) std::abort(); // not the rows
}

} // namespace

int main() {
    {
        const Device device(200, 2000);
        CNotesThread thread;
        const double before = StatusMiB("VmHWM:");
        const double first = LeastMs(1, [&] { Load(thread, 2200); });
        PrintFigure("peak memory added by a load, MiB", StatusMiB("VmHWM:") - before, 32);
        PrintFigure("2,000 files in 200 folders, first load, ms", first, 100);
        PrintFigure("  load, ms", LeastMs(9, [&] { Load(thread, 2200); }), 60);
        SetToRegistry(HKEY_CURRENT_USER, u"Software\\Norvo\\Quillonary\\AV", u"dwSort", kNotesBySize);
        PrintFigure("  sort again, ms", LeastMs(9, [&] { thread.SortDataList(); }), 10);
        thread.SetCompareString(u"needle", true, true, false);
        PrintFigure("  load of what has a word in its body, ms", LeastMs(5, [&] { Load(thread, 2200); }),
                    300);
    }
    const Device device(1, 10000);
    CNotesThread thread;
    Load(thread, 10000);
    PrintFigure("10,000 files in one folder, load, ms", LeastMs(5, [&] { Load(thread, 10000); }), 300);
    return g_bAllWithin ? 0 : 1;
}
