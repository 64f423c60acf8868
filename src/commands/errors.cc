#include "commands/errors.h"

#include "commands/mi_cmd.h"
#include "engine/ctrl_module.h"

namespace {

void reportError(CtrlModule& ctrl, const std::string& cmdId, const std::string& message) {
  ctrl.sendToUser(cmdId + "^error,msg=\"" + message + "\"\n");
  ctrl.sendToUser(kPrompt);
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
