#include "commands/data_cmds.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <map>
#include <vector>

#include "base/engine_id.h"
#include "base/log.h"
#include "base/silencer.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "session/mi_session.h"

namespace {

// The card architecture's registers; a name's index is its register number.
std::vector<std::string> cardRegisterNames() {
  std::vector<std::string> names = {"rax", "rdx", "rcx", "rbx", "rsi", "rdi", "rbp", "rsp"};
  auto numbered = [&names](const char* prefix, int first, int last) {
    for (int i = first; i <= last; ++i) names.push_back(prefix + std::to_string(i));
  };
  numbered("r", 8, 15);
  numbered("xmm", 0, 15);
  numbered("st", 0, 7);
  names.insert(names.end(), {"rip", "rflags", "cs", "ss", "ds", "es", "fs", "gs", "fctrl", "fstat",
                             "ftag", "fiseg", "fioff", "foseg", "fooff", "fop", "mxcsr", "vfp"});
  numbered("v", 0, 31);
  numbered("k", 0, 7);
  return names;
}

// The user's numbering is the card architecture's, from the first time it is needed.
void fillUserRegNames(MiSession& session) {
  if (session.vekRegs.empty()) session.vekRegs = cardRegisterNames();
  if (session.userRegNames.empty()) session.userRegNames = session.vekRegs;
}

// Decimal digits only, within `unsigned int`.
bool readRegisterNumber(const std::string& text, unsigned int& number) {
  if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != text.npos)
    return false;
  const unsigned long value = std::stoul(text);
  if (value > 0xffffffffUL) return false;
  number = static_cast<unsigned int>(value);
  return true;
}

MiRecordPtr undefinedRegister(unsigned int number) {
  auto tuple = boost::make_shared<MiMap>(false);
  tuple->setString("number", std::to_string(number));
  tuple->setString("value", "<undefined>");
  return tuple;
}

// The first index of `name` in `names`, if any.
bool indexOf(const std::vector<std::string>& names, const std::string& name, unsigned int& index) {
  auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return false;
  index = static_cast<unsigned int>(found - names.begin());
  return true;
}

// The engine's register tuples that the user's numbering has, renumbered into it and keyed by
// register name; `engineNames` is the engine's own numbering (none: nothing is kept).
std::map<std::string, MiRecordPtr> registersByName(CtrlModule& ctrl,
                                                   const std::list<MiRecordPtr>& elements,
                                                   const std::vector<std::string>* engineNames,
                                                   const std::vector<std::string>& userNames) {
  std::map<std::string, MiRecordPtr> byName;
  for (const MiRecordPtr& element : elements) {
    MiMap* reg = element ? element->toMiMap() : nullptr;
    std::string text;
    unsigned int number = 0, userNumber = 0;
    if (!element) {
      LOG_AT(ctrl) << "Skipping NULL pointer.";
    } else if (!reg) {
      LOG_AT(ctrl) << "Skipping non-map element.";
    } else if (!reg->findString("number", text)) {
      LOG_AT(ctrl) << "Skipping register element without number.";
    } else if (!engineNames) {
      continue;
    } else if (!readRegisterNumber(text, number) || number >= engineNames->size()) {
      LOG_AT(ctrl) << "Skipping bad register id: " << text;
    } else if (indexOf(userNames, (*engineNames)[number], userNumber)) {
      // A host register the user's list lacks is dropped.
      reg->setString("number", std::to_string(userNumber));
      byName[(*engineNames)[number]] = element;
    }
  }
  return byName;
}

}  // namespace

bool DataCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool DataCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool DataCmd::getStatus(std::string& resultClass) const {
  if (resultClasses.size() != 1) return false;
  resultClass = resultClasses.begin()->second;
  return true;
}

bool DataCmd::getRecord(MiMap& record) const {
  if (results.size() != 1) return false;
  record.entries = results.begin()->second.entries;
  record.topLevel = results.begin()->second.topLevel;
  return true;
}

bool DataCmd::getValue(std::string& value) const {
  return results.size() == 1 && results.begin()->second.findString("value", value);
}

bool DataDisassembleCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool DataDisassembleCmd::replyToUser(MiSession& session) {
  if (resultClasses.size() != 1 || !results.contains(resultClasses.begin()->first)) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  return replyFromOneEngine(session, true);
}

bool DataListRegisterNamesCmd::launchCmd(MiSession& session) {
  std::string line = cmdText;
  replaceCmdThreadGroupId(cmdText, "", line);
  if (!session.ctrl.sendToZub(kHostEngineId, line)) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  pendingZubIds.insert(kHostEngineId);
  return true;
}

bool DataListRegisterNamesCmd::replyToUser(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  if (resultClasses.size() != 1) {
    reportInternalError(ctrl, cmdId());
    return true;
  }
  if (session.cardIpTable.empty()) return replyFromOneEngine(session, true);
  MiRecordPtr node;
  auto result = results.find(resultClasses.begin()->first);
  if (result == results.end() || !result->second.findRecord("register-names", node)) {
    LOG_AT(ctrl) << "Failed to find 'register-names'";
    reportInternalError(ctrl, cmdId());
    return true;
  }
  MiList* names = node->toMiList();
  if (!names) {
    LOG_AT(ctrl) << "Record is not a list.";
    reportInternalError(ctrl, cmdId());
    return true;
  }
  if (session.hostRegNames.empty()) {
    for (const MiRecordPtr& element : names->elements) {
      if (!element)
        LOG_AT(ctrl) << "Warning: found NULL in 'lstRegNames'.";
      else if (!element->toMiString())
        LOG_AT(ctrl) << "Warning: regId is not a string.";
      else
        session.hostRegNames.push_back(element->toMiString()->value);
    }
  }
  fillUserRegNames(session);
  // The list node is the stored record's own, so the reply shows the user's names.
  names->elements.clear();
  for (const std::string& name : session.userRegNames)
    names->elements.push_back(boost::make_shared<MiString>(name));
  return replyFromOneEngine(session, true);
}

bool DataListRegisterValuesCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  if (threadId.empty()) {
    reportCommandNotImplementedError(ctrl, cmdId());
    return true;
  }
  std::string zubId, engineThreadId;
  if (!findThread(session, threadId, zubId, engineThreadId)) return true;
  std::string line;
  replaceCmdThreadId(cmdText, "--thread " + engineThreadId, line);
  if (!session.cardIpTable.empty()) {
    if (session.userRegNames.empty()) {
      // The numbering comes from the host's names; the user did not ask for them.
      DataListRegisterNamesCmd names(std::string("-data-list-register-names --thread-group ") +
                                     kHostEngineId + "\n");
      Silencer quiet(ctrl.muted);
      if (!session.runCmd(names)) return false;
    }
    if (!toEngineLine(session, zubId, line)) return true;
  }
  if (!ctrl.sendToZub(zubId, line)) return false;
  pendingZubIds.insert(zubId);
  session.currentZubId = zubId;
  return true;
}

bool DataListRegisterValuesCmd::toEngineLine(MiSession& session, const std::string& zubId,
                                             std::string& line) {
  CtrlModule& ctrl = session.ctrl;
  if (session.userRegNames.empty()) {
    LOG_AT(ctrl) << "The internal list of registers is empty.";
    reportInternalError(ctrl, cmdId());
    return false;
  }
  std::list<unsigned int> requested, engineRegs;
  if (!matchRegisterList(cmdText, requested)) {
    LOG_AT(ctrl) << "Matching register list failed.";
    reportInternalError(ctrl, cmdId());
    return false;
  }
  // No numbers: every register, and the answer is renumbered on its way back.
  if (requested.empty()) return true;
  if (!toEngineRegs(session, zubId, requested, engineRegs)) return false;
  if (engineRegs.empty()) {
    // Nothing the engine could answer: every requested register reads "<undefined>".
    MiMap record(true);
    std::list<MiRecordPtr> values;
    for (unsigned int number : requested) values.push_back(undefinedRegister(number));
    record.setList("register-values", values);
    replyWith(session, "^done", record);
    return false;
  }
  std::string spliced = line;
  replaceRegisterList(line, engineRegs, spliced);
  line = std::move(spliced);
  return true;
}

bool DataListRegisterValuesCmd::toEngineRegs(MiSession& session, const std::string& zubId,
                                             const std::list<unsigned int>& requested,
                                             std::list<unsigned int>& engineRegs) {
  const std::vector<std::string>& userNames = session.userRegNames;
  const bool toHost = zubId == kHostEngineId;
  for (unsigned int number : requested) {
    if (!toHost && !isCardEngine(zubId)) {
      LOG_AT(session.ctrl) << "Unexpected engine id: " << zubId;
      reportInternalError(session.ctrl, cmdId());
      return false;
    }
    if (number >= userNames.size()) {
      reportInvalidRegisterError(session.ctrl, number, cmdId());
      return false;
    }
    // A register the host does not have is simply not asked for.
    unsigned int engineNumber;
    if (indexOf(toHost ? session.hostRegNames : userNames, userNames[number], engineNumber))
      engineRegs.push_back(engineNumber);
  }
  return true;
}

bool DataListRegisterValuesCmd::toUserRegs(MiSession& session, const std::string& zubId) {
  CtrlModule& ctrl = session.ctrl;
  std::list<unsigned int> requested;
  if (!matchRegisterList(cmdText, requested)) {
    LOG_AT(ctrl) << "Reading register list failed.";
    reportInternalError(ctrl, cmdId());
    return false;
  }
  MiRecordPtr node;
  MiList* values = nullptr;
  auto result = results.find(zubId);
  if (result != results.end() && result->second.findRecord("register-values", node))
    values = node->toMiList();
  if (!values) {
    LOG_AT(ctrl) << "Reading register values failed.";
    reportInternalError(ctrl, cmdId());
    return false;
  }
  const std::vector<std::string>& userNames = session.userRegNames;
  const std::vector<std::string>* engineNames = nullptr;
  if (zubId.rfind("i", 0) == 0)
    engineNames = &session.hostRegNames;
  else if (isCardEngine(zubId))
    engineNames = &userNames;
  std::map<std::string, MiRecordPtr> byName =
      registersByName(ctrl, values->elements, engineNames, userNames);
  values->elements.clear();
  auto append = [&](unsigned int userNumber) {
    auto found = byName.find(userNames[userNumber]);
    values->elements.push_back(found != byName.end() ? found->second
                                                     : undefinedRegister(userNumber));
  };
  if (requested.empty()) {
    for (unsigned int u = 0; u < userNames.size(); ++u) append(u);
    return true;
  }
  for (unsigned int number : requested) {
    if (number >= userNames.size()) {
      reportInvalidRegisterError(ctrl, number, cmdId());
      return false;
    }
    append(number);
  }
  return true;
}

bool DataListRegisterValuesCmd::replyToUser(MiSession& session) {
  if (resultClasses.size() != 1) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  const auto& [zubId, resultClass] = *resultClasses.begin();
  if (!session.cardIpTable.empty() && resultClass == "done" && !toUserRegs(session, zubId))
    return true;
  return replyFromOneEngine(session, true);
}
