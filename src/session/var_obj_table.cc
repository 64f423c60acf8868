#include "session/var_obj_table.h"

void VarObjTable::newVarObj(std::string const& engineId, std::string& name) {
  do {
    name = "var" + std::to_string(nextAutoNumber++);
  } while (!owners.emplace(name, engineId).second);
}

bool VarObjTable::addVarObj(std::string const& name, std::string const& engineId) {
  return owners.emplace(name, engineId).second;
}

bool VarObjTable::findOwner(std::string const& name, std::string& engineId) const {
  auto it = owners.find(name);
  if (it == owners.end()) return false;
  engineId = it->second;
  return true;
}
