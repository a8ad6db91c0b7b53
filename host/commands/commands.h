// All commands of the tool. A new one is declared here and entered in the table.
#pragma once

#include <array>

#include "host/commands/command.h"

void addChannels(CommandLine& line);
void addRecord(CommandLine& line);
void addPlay(CommandLine& line);
void addTalk(CommandLine& line);
void addWatch(CommandLine& line);
void addSend(CommandLine& line);
void addDescribe(CommandLine& line);
void addDoctor(CommandLine& line);
void addServe(CommandLine& line);
void addPassword(CommandLine& line);

// In the order of --help.
inline constexpr std::array Commands{
    addChannels, addRecord,   addPlay,   addTalk,  addWatch,
    addSend,     addDescribe, addDoctor, addServe, addPassword,
};
