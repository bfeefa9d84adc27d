// qn: the suite on the command line.
#include "QNTools/QNTools.h"
#include "apps/qn/commands.h"
#include "apps/qn/support.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>

namespace {

// The library settles the device folder when it is loaded, before main; an option comes too late for it. So the program
// starts itself anew with the folder in its environment, before any library has done anything: the loader runs the
// entries of this section first. Nothing but plain memory and the system call may be used here.
constexpr std::size_t kMostVariables = 4096;
constexpr std::size_t kLongestFolder = 4096;

const char* DeviceWord(int argc, char** argv) {
    const char* folder = nullptr;
    for (int i = 1; i < argc && __builtin_strcmp(argv[i], "--") != 0; ++i) {
        if (__builtin_strcmp(argv[i], "--device") == 0 && i + 1 < argc) folder = argv[i + 1];
        if (__builtin_strncmp(argv[i], "--device=", 9) == 0) folder = argv[i] + 9;
    }
    return folder;
}

__attribute__((no_sanitize("address", "undefined"))) void TakeDeviceOption(int argc, char** argv,
                                                                           char** environment) {
    static char variable[kLongestFolder + 16] = "QN_DEVICE=";
    static char* variables[kMostVariables + 2];
    const char* folder = DeviceWord(argc, argv);
    if (!folder || !*folder) return;
    std::size_t length = 10;
    for (const char* c = folder; *c; ++c) {
        if (length == kLongestFolder) return; // main tells of it
        variable[length++] = *c;
    }
    std::size_t count = 0;
    for (char** entry = environment; *entry; ++entry) {
        if (__builtin_strcmp(*entry, variable) == 0) return; // this is the second start
        if (count == kMostVariables) return;
        if (__builtin_strncmp(*entry, "QN_DEVICE=", 10) != 0) variables[count++] = *entry;
    }
    variables[count] = variable;
    execve("/proc/self/exe", argv, variables);
}
__attribute__((section(".preinit_array"), used)) void (*const g_takeDevice)(int, char**,
                                                                            char**) = &TakeDeviceOption;

struct Command {
    std::string_view name;
    int (*run)(const qn::Words&);
    const char* help;
    void (*prepare)(const qn::Words&) = nullptr; // before the library is up
};

constexpr Command kCommands[] = {
    {"import", &qn::ImportCommand,
     "qn import [--horizon YEARS] [--quiet] [--timing] FILE ...\n"
     "  Reads files of other programs; - is standard input, with a calendar or cards.\n"
     "  .ics  iCalendar: events, to-dos, journal entries.\n"
     "  .vcf  vCard 2.1, 3.0, 4.0: contacts.\n"
     "  .txt, .md  texts, as notes in \\My Documents.\n"
     "  An item that is there already, by its UID, is brought up to date; a contact without one by its "
     "name.\n"
     "  A rule that no pattern can hold becomes single appointments, up to the horizon (5 years from "
     "today).\n"
     "  The summary tells what was imported, what was split, what was skipped and why, and what could not be "
     "kept.\n"},
    {"agenda", &qn::AgendaCommand,
     "qn agenda [--from DATE] [--days N] [--category NAME]... [--all-of] [--hide] [--no-category]\n"
     "          [--filter all|birthdays|anniversaries|holidays|recurring] [--status "
     "free|tentative|busy|out]\n"
     "          [--no-headers] [--json]\n"
     "  Prints the day list: 7 days from today unless told otherwise.\n"
     "  DATE is 2026-11-21, today, tomorrow, yesterday, +3, -3, or as your locale writes it.\n"
     "  --category may be given several times: one of them, or with --all-of all of them; --hide turns that "
     "round;\n"
     "  --no-category shows items without one too.\n"
     "  With a --filter other than all each item stands once, whatever its date, its categories and its "
     "status.\n"},
    {"tasks", &qn::TasksCommand,
     "qn tasks [--rule NAME] [--group NAME | --tree] [--sort KEY[,KEY2]] [--descending] [--done] [--open]\n"
     "         [--date DATE | --days N | --context NAME | --below TASK | --project NAME] [--json]\n"
     "  Prints the tasks as the task view shows them, or as these options change it for once.\n"
     "  --rule    all, today, overdue, undated, active, tomorrow, done, next (--days N, 14), day (--date), "
     "master,\n"
     "            unfiled, context (--context), starred, action, goal (--below a task, by UID or OID),\n"
     "            project (--project)\n"
     "  --group   none, category, importance, letter, progress, completion, date, manager, status\n"
     "  --sort    subject, due, start, priority, completion, letter, category; the second key breaks ties\n"
     "  --done    completed tasks too\n"
     "  --open    what stands below closed tasks and closed headers too\n"},
    {"contacts", &qn::ContactsCommand,
     "qn contacts [--format NAME] [--find TEXT [--full] | --keypad DIGITS] [--closed] [--json]\n"
     "  Prints the contacts as the contact view shows them, or as these options change it for once.\n"
     "  --format  first, last, file-as, company, category, department, city, state, country, recent, calls\n"
     "  --find    contacts whose name begins so, by the name that orders the list or its group; where there "
     "are "
     "none,\n"
     "            and with --full at once, those with all the words anywhere in a name, or the text in any "
     "field\n"
     "  --keypad  each digit stands for its letters: 0 ABC, 1 DEF, 2 GHI ... 7 WXYZ, # or 8 for the digits\n"
     "  --closed  the headers of groups alone\n"},
    {"notes", &qn::NotesCommand,
     "qn notes [--sort KEY] [--ascending | --descending] [--find TEXT [--contents]] [--open] [--hidden] "
     "[--json]\n"
     "  Prints the notes of the documents folder and of storage cards as the note view shows them.\n"
     "  --sort      subject, alarm, created, modified, size, category\n"
     "  --find      notes with the text in their names, with --contents also in what they say; in closed "
     "folders too\n"
     "  --open      closed folders too\n"
     "  --hidden    hidden folders too\n"},
    {"search", &qn::SearchCommand,
     "qn search TEXT [--in KIND,...] [--field NAME]... [--begin] [--contents] [--sound] [--from DATE] [--to "
     "DATE]\n"
     "          [--tasks open|done] [--tracked] [--privacy NAME] [--category NAME]... [--all-of] [--hide] "
     "[--no-category]\n"
     "          [--all-entries] [--no-links] [--sort KEY [--descending]] [--group age|item] [--json]\n"
     "  Looks through everything for a text, and prints what it finds as it is found. * and ? in the text "
     "stand for "
     "any\n"
     "  characters and for one; * alone finds everything.\n"
     "  --in        contacts, tasks, appointments, notes, journal; all of them unless told otherwise\n"
     "  --field     all, name (of contacts; subjects, titles), location, first, last, company, mail, phone\n"
     "  --begin     where a field begins with the text, not anywhere in it\n"
     "  --contents  in notes and the notes of items too\n"
     "  --sound     contacts whose names sound alike too\n"
     "  --from, --to  days, both included: appointments and tasks then; contacts with a birthday or an "
     "anniversary then\n"
     "              (with --from); journal entries between both. Each date of a series is found by itself, "
     "without "
     "days\n"
     "              a series once.\n"
     "  --privacy   public, not-public, personal, private, confidential: such appointments and notes; tasks "
     "that "
     "are not so\n"
     "  --tracked   no tasks and appointments but those that are tracked\n"
     "  --category  as for agenda; files are found whatever their category\n"
     "  --all-entries  all journal entries, whatever the text\n"
     "  --no-links  without a look for links of items\n"
     "  --sort      subject, date, category, sensitivity: within each kind; timeline: by date whatever the "
     "kind; "
     "journal,\n"
     "              view: as their views sort. Then all is found before the first is printed, as with\n"
     "  --group     age: in the next 7, 30, 90 days from --from on, later; item: journal entries by what "
     "they "
     "belong to\n"},
    {"list", &qn::ListCommand,
     "qn list [appointments|tasks|contacts|journal] [--json]\n"
     "  Lists what is stored, one line an item, with the number that `qn show` takes.\n"},
    {"show", &qn::ShowCommand, "qn show OID ...\n  Shows all that is known of an item.\n"},
    {"delete", &qn::DeleteCommand, "qn delete OID ...\n  Takes items out of the store.\n"},
    {"get", &qn::GetCommand,
     "qn get KEY\n"
     "  Prints a setting; for a key the names and values under it.\n"
     "  KEY is a path under Software\\Norvo\\Quillonary, such as CAV\\DisplayCompletedAppointments (\"/\" "
     "does too),\n"
     "  or a full one from HKCU\\ or HKLM\\ on.\n"},
    {"set", &qn::SetCommand,
     "qn set [--text|--number] KEY VALUE\n"
     "qn set --delete KEY\n"
     "  Writes a setting: a number when VALUE is one (decimal, or hexadecimal from 0x), otherwise a text.\n"},
    {"export", &qn::ExportCommand,
     "qn export --ics [--from DATE] [--to DATE] [FILE]\n"
     "qn export --vcf [FILE]\n"
     "  Writes appointments, tasks and journal entries as one iCalendar file, or all contacts as one vCard "
     "file; to\n"
     "  standard output without FILE.\n"
     "  --from, --to  what falls on these days alone; a series that may is written whole, a task without a "
     "date isn't\n"},
    {"mark-up", &qn::MarkUpCommand,
     "qn mark-up [--png FILE] [--dump] [--width N] [--dpi N] [--line] FILE|-\n"
     "  Shows what the display makes of a text of mark-up (UTF-8; - is standard input): a picture, and with "
     "--dump "
     "its\n"
     "  tokens, what stands where, and the hot spots, in pixels.\n"
     "  The text is as wide as N pixels, 240 at 96 dots an inch unless told otherwise; --line doesn't wrap "
     "it.\n",
     &qn::PrepareMarkUp},
    {"page", &qn::PageCommand,
     "qn page day|week|agenda [--date DATE] [OPTIONS]\n"
     "qn page tasks|notes [OPTIONS]\n"
     "qn page contacts|search [--find TEXT] [OPTIONS]\n"
     "        [--size WIDTHxHEIGHT] [--dpi N] [--category NAME]... [--scheme light|dark] [--png FILE]\n"
     "  Draws a page into a picture, day.png, week.png and so on unless told otherwise, of 480x640 pixels. "
     "DATE as for\n"
     "  agenda, today unless told otherwise; --find as if TEXT had been typed on the page. The colours are "
     "those of the\n"
     "  setting Colors/Scheme (0 light, 1 dark) unless told otherwise.\n",
     &qn::PreparePage},
};

void PrintHelp() {
    std::puts("qn: the suite on a device folder, from the command line\n\n"
              "usage: qn [--device DIR] COMMAND ...\n\n"
              "  import    read calendars, cards and texts\n"
              "  agenda    the day list\n"
              "  tasks     the task list, in groups or as a tree\n"
              "  contacts  the contact list, by name or in groups\n"
              "  notes     the notes, in their folders\n"
              "  search    a text in all of it\n"
              "  list      what is stored\n"
              "  show      one item\n"
              "  delete    take items out\n"
              "  get, set  the settings\n"
              "  export    write a calendar or cards\n"
              "  mark-up   draw a text of mark-up\n"
              "  page      draw a page: calendar, tasks, contacts, notes, search\n\n"
              "`qn COMMAND --help` tells more.\n"
              "The device folder is DIR, else $QN_DEVICE, else ~/.local/share/quillonary.\n"
              "TZ and the locale variables are the device's zone and locale.\n"
              "Exit codes: 0 done, 1 failed or not all done, 2 wrong usage or a store that can't be used.");
}

const Command* FindCommand(std::string_view name) {
    for (const Command& command : kCommands)
        if (command.name == name) return &command;
    return nullptr;
}

// The folder of --device must be the one that this start has.
void CheckDevice(int argc, char** argv) {
    const char* folder = DeviceWord(argc, argv);
    if (!folder) return;
    if (!*folder) qn::Usage("--device wants a folder");
    const char* taken = std::getenv("QN_DEVICE");
    if (!taken || std::string_view(taken) != folder)
        throw qn::StoreFailure("--device: this folder can't be used");
}

// The words without --device and its value, which has been heard.
qn::Words WordsOf(int argc, char** argv) {
    qn::Words words;
    bool options = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--") options = false;
        if (options && word == "--device") {
            if (++i >= argc) qn::Usage("--device wants a folder");
            continue;
        }
        if (options && word.starts_with("--device=")) continue;
        words.emplace_back(word);
    }
    return words;
}

bool WantsHelp(const qn::Words& words) {
    for (const std::string& word : words) {
        if (word == "--") return false;
        if (word == "--help" || word == "-h") return true;
    }
    return false;
}

// What the library brings up goes down, whatever a command throws.
struct Library {
    Library() { InitQNTools(nullptr, true); }
    ~Library() { UnInitQNTools(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

int PrintText(const char* text) {
    std::fputs(text, stdout);
    return qn::kExitDone;
}

int Run(int argc, char** argv) {
    CheckDevice(argc, argv);
    qn::Words words = WordsOf(argc, argv);
    if (words.empty() || words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
        if (words.size() > 1 && words[0] == "help") {
            const Command* command = FindCommand(words[1]);
            if (!command) qn::Usage("there is no command " + words[1]);
            return PrintText(command->help);
        }
        PrintHelp();
        return words.empty() ? qn::kExitBroken : qn::kExitDone;
    }
    if (words[0] == "--version") {
        std::puts("qn " QN_VERSION);
        return qn::kExitDone;
    }
    const Command* command = FindCommand(words[0]);
    if (!command) qn::Usage("there is no command " + words[0]);
    words.erase(words.begin());
    if (WantsHelp(words)) return PrintText(command->help);
    if (command->prepare) command->prepare(words);
    const Library library;
    return command->run(words);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const int code = Run(argc, argv);
        errno = 0;
        // What could not be written was not done.
        if (std::fflush(stdout) != 0 || std::ferror(stdout))
            throw qn::Failure(std::string("standard output: ") +
                              (errno ? std::strerror(errno) : "can't be written"));
        return code;
    } catch (const qn::Failure& failure) {
        std::fflush(stdout);
        std::fprintf(stderr, "qn: %s\n", failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "qn: %s\n", error.what());
        return qn::kExitFailed;
    }
}
