// The commands of qn. Each takes the words behind its name and gives the exit code; a Failure carries its message.
#pragma once

#include <string>
#include <vector>

namespace qn {

using Words = std::vector<std::string>;

int ImportCommand(const Words& words);
int AgendaCommand(const Words& words);
int TasksCommand(const Words& words);
int ContactsCommand(const Words& words);
int NotesCommand(const Words& words);
int SearchCommand(const Words& words);
int ListCommand(const Words& words);
int ShowCommand(const Words& words);
int DeleteCommand(const Words& words);
int GetCommand(const Words& words);
int SetCommand(const Words& words);
int ExportCommand(const Words& words);
// The screen that is drawn on is settled before the library reads it.
void PrepareMarkUp(const Words& words);
int MarkUpCommand(const Words& words);
void PreparePage(const Words& words);
int PageCommand(const Words& words);

} // namespace qn
