#pragma once
#include <string>

class CtrlModule;

// The error replies the program writes itself. Each sends one record (the token, "^error,msg=..."
// and "\n") and then the prompt; the command that sends one is finished.
void reportInvalidThreadIdError(CtrlModule& ctrl, const std::string& threadId,
                                const std::string& cmdId);
void reportInvalidThreadGroupIdError(CtrlModule& ctrl, const std::string& groupId,
                                     const std::string& cmdId);
void reportInvalidVariableError(CtrlModule& ctrl, const std::string& name,
                                const std::string& cmdId);
void reportNameIsAlreadyInUseError(CtrlModule& ctrl, const std::string& name,
                                   const std::string& cmdId);
void reportInvalidRegisterError(CtrlModule& ctrl, unsigned int number, const std::string& cmdId);
void reportCannotOpenFileError(CtrlModule& ctrl, const std::string& name, const std::string& cmdId);
void reportSyntaxError(CtrlModule& ctrl, const std::string& cmdId);
void reportCommandNotImplementedError(CtrlModule& ctrl, const std::string& cmdId);
void reportInternalError(CtrlModule& ctrl, const std::string& cmdId);
void reportBreakpointNumberMissingError(CtrlModule& ctrl, const std::string& cmdId);
// A "source" that would open more than `maxDepth` command files at once.
void reportCommandFilesNestTooDeeplyError(CtrlModule& ctrl, int maxDepth, const std::string& name,
                                          const std::string& cmdId);
// Every engine has ended, so no command can be carried out.
void reportNoEngineLeftError(CtrlModule& ctrl, const std::string& cmdId);
// gdb's own answers, in the gdb-compatible mode: a "-thread-select" without a thread, and a
// command word the program does not know ("code" is what gdb's clients look for).
void reportThreadSelectUsageError(CtrlModule& ctrl, const std::string& cmdId);
void reportUndefinedMiCommandError(CtrlModule& ctrl, const std::string& name,
                                   const std::string& cmdId);
