#include "commands/errors.h"

#include "commands/mi_cmd.h"
#include "engine/ctrl_module.h"

namespace {

// `results` is the record's text after "^error,".
void sendError(CtrlModule& ctrl, const std::string& cmdId, const std::string& results) {
  ctrl.sendToUser(cmdId + "^error," + results + "\n");
  sendPrompt(ctrl);
}

void reportError(CtrlModule& ctrl, const std::string& cmdId, const std::string& message) {
  sendError(ctrl, cmdId, "msg=\"" + message + "\"");
}

}  // namespace

void reportInvalidThreadIdError(CtrlModule& ctrl, const std::string& threadId,
                                const std::string& cmdId) {
  reportError(ctrl, cmdId, "Invalid thread: " + threadId);
}

void reportInvalidThreadGroupIdError(CtrlModule& ctrl, const std::string& groupId,
                                     const std::string& cmdId) {
  reportError(ctrl, cmdId, "Invalid thread-group: " + groupId);
}

void reportInvalidVariableError(CtrlModule& ctrl, const std::string& name,
                                const std::string& cmdId) {
  reportError(ctrl, cmdId, "Invalid variable: " + name);
}

void reportNameIsAlreadyInUseError(CtrlModule& ctrl, const std::string& name,
                                   const std::string& cmdId) {
  reportError(ctrl, cmdId, "Name is already in use: " + name + ".");
}

void reportInvalidRegisterError(CtrlModule& ctrl, unsigned int number, const std::string& cmdId) {
  reportError(ctrl, cmdId, "Invalid register: " + std::to_string(number));
}

void reportCannotOpenFileError(CtrlModule& ctrl, const std::string& name,
                               const std::string& cmdId) {
  reportError(ctrl, cmdId, "Cannot open file: " + name + ".");
}

void reportSyntaxError(CtrlModule& ctrl, const std::string& cmdId) {
  reportError(ctrl, cmdId, "Syntax error");
}

void reportCommandNotImplementedError(CtrlModule& ctrl, const std::string& cmdId) {
  reportError(ctrl, cmdId, "Command not implemented");
}

void reportInternalError(CtrlModule& ctrl, const std::string& cmdId) {
  reportError(ctrl, cmdId, "Internal error");
}

void reportBreakpointNumberMissingError(CtrlModule& ctrl, const std::string& cmdId) {
  reportError(ctrl, cmdId, "Breakpoint number is missing.");
}

void reportCommandFilesNestTooDeeplyError(CtrlModule& ctrl, int maxDepth, const std::string& name,
                                          const std::string& cmdId) {
  reportError(
      ctrl, cmdId,
      "Command files nest too deeply (more than " + std::to_string(maxDepth) + "): " + name);
}

void reportNoEngineLeftError(CtrlModule& ctrl, const std::string& cmdId) {
  reportError(ctrl, cmdId, "No debugger engine is left: every engine has ended.");
}

void reportThreadSelectUsageError(CtrlModule& ctrl, const std::string& cmdId) {
  reportError(ctrl, cmdId, "-thread-select: USAGE: threadnum.");
}

void reportUndefinedMiCommandError(CtrlModule& ctrl, const std::string& name,
                                   const std::string& cmdId) {
  sendError(ctrl, cmdId, "msg=\"Undefined MI command: " + name + "\",code=\"undefined-command\"");
}
