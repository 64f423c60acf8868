#include "mi/mi_record.h"

#include <boost/make_shared.hpp>
#include <sstream>

namespace {

// Replaces the engine's thread id held by `node` with the user id; false if it is no string.
bool convertThreadId(MiRecord& node, ThreadIdTable& table, const std::string& engineId) {
  MiString* id = node.toMiString();
  if (!id) return false;
  std::string extId;
  table.toExtThreadId(engineId, id->value, extId);
  id->value = std::move(extId);
  return true;
}

// Card engines' groups are shown as parts of the host's group "i1".
bool replaceGroupId(MiRecord& node) {
  MiString* id = node.toMiString();
  if (!id) return false;
  if (id->value.find("vek") != std::string::npos) id->value = "i1";
  return true;
}

bool isThreadIdKey(const std::string& key) {
  return key == "thread-id" || key == "current-thread-id";
}

// Every element of a "threads" list is a tuple whose first "id" is an engine thread id.
bool convertThreadList(MiRecord& node, ThreadIdTable& table, const std::string& engineId) {
  MiList* threads = node.toMiList();
  if (!threads) return false;
  for (const MiRecordPtr& element : threads->elements) {
    MiMap* thread = element->toMiMap();
    if (!thread) return false;
    MiRecordPtr id;
    if (!thread->findRecord("id", id) || !convertThreadId(*id, table, engineId)) return false;
  }
  return true;
}

}  // namespace

void MiRecord::printToString(std::string& out) const {
  std::ostringstream os;
  print(os);
  out = std::move(os).str();
}

std::ostream& operator<<(std::ostream& os, const MiRecord& record) {
  record.print(os);
  return os;
}

bool MiString::replaceThreadIds(ThreadIdTable&, const std::string&) { return true; }

void MiString::print(std::ostream& os) const {
  os.put('"');
  os.write(value.data(), static_cast<std::streamsize>(value.size()));
  os.put('"');
}

// Pairs do not descend into their value; only maps rewrite a nested "thread-id".
bool MiPair::replaceThreadIds(ThreadIdTable& table, const std::string& engineId) {
  if (isThreadIdKey(name) && !convertThreadId(*value, table, engineId)) return false;
  if (name == "group-id" && !replaceGroupId(*value)) return false;
  return true;
}

void MiPair::print(std::ostream& os) const {
  os.write(name.data(), static_cast<std::streamsize>(name.size()));
  os.put('=');
  value->print(os);
}

bool MiList::replaceThreadIds(ThreadIdTable& table, const std::string& engineId) {
  for (const MiRecordPtr& element : elements) {
    if (!element->replaceThreadIds(table, engineId)) return false;
  }
  return true;
}

void MiList::print(std::ostream& os) const {
  os.put('[');
  bool first = true;
  for (const MiRecordPtr& element : elements) {
    if (!first) os.put(',');
    first = false;
    element->print(os);
  }
  os.put(']');
}

bool MiMap::replaceThreadIds(ThreadIdTable& table, const std::string& engineId) {
  for (const auto& [key, value] : entries) {
    if (!value->replaceThreadIds(table, engineId)) return false;
    if (key == "threads") {
      if (!convertThreadList(*value, table, engineId)) return false;
    } else if (isThreadIdKey(key)) {
      if (!convertThreadId(*value, table, engineId)) return false;
    }
    if (key == "group-id" && !replaceGroupId(*value)) return false;
  }
  return true;
}

void MiMap::print(std::ostream& os) const {
  if (!topLevel) os.put('{');
  bool first = true;
  for (const auto& [key, value] : entries) {
    if (!first) os.put(',');
    first = false;
    os.write(key.data(), static_cast<std::streamsize>(key.size()));
    os.put('=');
    value->print(os);
  }
  if (!topLevel) os.put('}');
}

const MiRecord* MiMap::findNode(const std::string& key) const {
  for (const auto& entry : entries) {
    if (entry.first == key) return entry.second.get();
  }
  return nullptr;
}

bool MiMap::findRecord(const std::string& key, MiRecordPtr& out) const {
  for (const auto& entry : entries) {
    if (entry.first == key) {
      out = entry.second;
      return true;
    }
  }
  return false;
}

bool MiMap::findMiString(const std::string& key, MiString& out) const {
  const MiRecord* node = findNode(key);
  const MiString* found = node ? node->toMiString() : nullptr;
  if (!found) return false;
  out.value = found->value;
  return true;
}

bool MiMap::findString(const std::string& key, std::string& out) const {
  const MiRecord* node = findNode(key);
  const MiString* found = node ? node->toMiString() : nullptr;
  if (!found) return false;
  out = found->value;
  return true;
}

bool MiMap::findMiList(const std::string& key, MiList& out) const {
  const MiRecord* node = findNode(key);
  const MiList* found = node ? node->toMiList() : nullptr;
  if (!found) return false;
  out.elements = found->elements;
  return true;
}

bool MiMap::findList(const std::string& key, std::list<MiRecordPtr>& out) const {
  const MiRecord* node = findNode(key);
  const MiList* found = node ? node->toMiList() : nullptr;
  if (!found) return false;
  out = found->elements;
  return true;
}

bool MiMap::findMiMap(const std::string& key, MiMap& out) const {
  const MiRecord* node = findNode(key);
  const MiMap* found = node ? node->toMiMap() : nullptr;
  if (!found) return false;
  // Copy before assigning: `out` may be the found map itself.
  std::list<Entry> copy = found->entries;
  out.topLevel = found->topLevel;
  out.entries = std::move(copy);
  return true;
}

void MiMap::setString(const std::string& key, const std::string& text) {
  (*this)[key] = boost::make_shared<MiString>(text);
}

void MiMap::setList(const std::string& key, const std::list<MiRecordPtr>& items) {
  auto list = boost::make_shared<MiList>();
  list->elements = items;
  (*this)[key] = list;
}

void MiMap::setMiList(const std::string& key, const MiList& list) { setList(key, list.elements); }

MiRecordPtr& MiMap::operator[](const std::string& key) {
  for (auto& entry : entries) {
    if (entry.first == key) return entry.second;
  }
  return entries.emplace_back(key, MiRecordPtr()).second;
}
