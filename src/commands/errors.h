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
