#pragma once
#include <cstdint>
#include <map>
#include <string>

// Which engine owns each variable object. Names are the same for the user and the engine, so
// only ownership is kept; automatic names are unique across all engines.
struct VarObjTable {
  // Variable-object name to the id of the engine that holds it.
  std::map<std::string, std::string> owners;
  // The number tried first for the next automatic name.
  uint32_t nextAutoNumber = 0;

  // Chooses the first free name "var<N>" from the next automatic number on, records it as owned
  // by `engineId` and returns it in `name`. Every number tried is used up, taken or not.
  void newVarObj(std::string const& engineId, std::string& name);

  // Records a name the user chose; false, nothing changed, when the name is already in use.
  bool addVarObj(std::string const& name, std::string const& engineId);

  // The owner of `name`; false, `engineId` untouched, for an unknown name.
  bool findOwner(std::string const& name, std::string& engineId) const;
};
