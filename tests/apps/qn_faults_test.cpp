// An import that is cut short: what was shown as saved is there, whole, and the next import completes it. And what the
// program shows on a terminal.
#include "tests/apps/qn_run.h"

#include <pty.h>
#include <unistd.h>

#include <csignal>
#include <regex>
#include <set>

namespace {

constexpr int kEvents = 3000;
constexpr int kBatch = 500; // saved at once

class QnFaults : public QnTest {
protected:
    QnFaults() {
        std::string events;
        for (int i = 0; i < kEvents; ++i) {
            char lines[96];
            std::snprintf(lines, sizeof lines, "DTSTART:2026%02d%02dT%02d0000\r\nSUMMARY:event %d",
                          1 + i % 12, 1 + i % 28, 8 + i % 10, i);
            events += Event("e" + std::to_string(i), lines);
        }
        Write("many.ics", Calendar(events));
    }

    // Imports on a terminal; ended by force once it shows that so many hundredths are saved. What the terminal showed.
    struct OnTerminal {
        std::string shown;
        int status = 0;
    };
    OnTerminal ImportOnTerminal(int killAt) const {
        int terminal = -1;
        const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            setenv("QN_DEVICE", m_device.c_str(), 1);
            if (chdir(m_folder.c_str()) == 0)
                execl(QN_PROGRAM, QN_PROGRAM, "import", "many.ics", static_cast<char*>(nullptr));
            _exit(127);
        }
        OnTerminal result;
        char bytes[512];
        for (ssize_t got; (got = read(terminal, bytes, sizeof bytes)) > 0;) {
            result.shown.append(bytes, static_cast<std::size_t>(got));
            if (PercentSaved(result.shown) >= killAt) kill(child, SIGKILL);
        }
        waitpid(child, &result.status, 0);
        close(terminal);
        return result;
    }
    // The last share that the bar showed; -1 while nothing is saved.
    static int PercentSaved(const std::string& shown) {
        static const std::regex bar("saving +\\[[# ]{40}\\] +(\\d+)%");
        int percent = -1;
        for (std::sregex_iterator at(shown.begin(), shown.end(), bar), end; at != end; ++at)
            percent = std::stoi((*at)[1]);
        return percent;
    }
    void ExpectAllOnce() {
        std::set<std::string> subjects;
        const auto list = Records(Qn({"list", "--json"}).out);
        for (const JsonRecord& item : list) subjects.insert(item.at("subject"));
        EXPECT_EQ(list.size(), std::size_t{kEvents});
        EXPECT_EQ(subjects.size(), std::size_t{kEvents});
    }
};

TEST_F(QnFaults, ProgressIsForTerminals) {
    const OnTerminal ran = ImportOnTerminal(101);
    EXPECT_TRUE(WIFEXITED(ran.status) && WEXITSTATUS(ran.status) == 0);
    EXPECT_NE(ran.shown.find("\rreading  ["), std::string::npos) << ran.shown;
    EXPECT_EQ(PercentSaved(ran.shown), 100);
    // The bar goes before the summary comes.
    EXPECT_NE(ran.shown.find("\r\033[Kmany.ics: 3000 appointments"), std::string::npos) << ran.shown;
    EXPECT_EQ(Qn({"import", "many.ics"}).err, "");
}

TEST_F(QnFaults, KilledInTheMiddleOfAnImport) {
    for (const int killAt : {16, 50, 83}) {
        m_device = m_folder + "/d" + std::to_string(killAt);
        const OnTerminal ran = ImportOnTerminal(killAt);
        ASSERT_TRUE(WIFSIGNALED(ran.status)) << "it was faster";
        const Ran list = Qn({"list", "--json"});
        EXPECT_EQ(list.code, 0) << list.err;
        const auto stored = static_cast<int>(Records(list.out).size());
        EXPECT_GE(stored, PercentSaved(ran.shown) * kEvents / 100);
        EXPECT_EQ(stored % kBatch, 0) << "half a transaction";
        const Ran again = Qn({"import", "many.ics"});
        EXPECT_EQ(again.code, 0) << again.err;
        EXPECT_TRUE(again.Says(std::to_string(stored) + " appointments were there")) << again.out;
        ExpectAllOnce();
    }
}

TEST_F(QnFaults, NoRoomInTheMiddleOfAnImport) {
    m_before = "trap '' XFSZ; ulimit -f 1200; "; // no file grows beyond
    const Ran full = Qn({"import", "many.ics", "many.ics"});
    m_before.clear();
    EXPECT_EQ(full.code, 2);
    EXPECT_EQ(full.out, "");
    std::smatch told;
    ASSERT_TRUE(
        std::regex_match(full.err, told,
                         std::regex("qn: many.ics: the store can't be written: .*; stored: (\\d+) of 3000 "
                                    "items, import again for the rest\n")))
        << full.err;
    const auto stored = Records(Qn({"list", "--json"}).out).size();
    EXPECT_EQ(std::to_string(stored), told[1]);
    EXPECT_GT(stored, 0u);
    EXPECT_EQ(Qn({"import", "many.ics"}).code, 0);
    ExpectAllOnce();
}

} // namespace
