#include "mi/mi_record.h"

#include <string_view>

#include "base/engine_id.h"
#include "mi/mi_node_alloc.h"

namespace {

using namespace std::string_view_literals;  // a view compares its size before any character

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
  // A value in an engine's record, not one of our engine ids: "vek" anywhere in it counts.
  if (id->value.find("vek") != std::string::npos) id->value = kHostEngineId;
  return true;
}

bool isThreadIdKey(std::string_view key) {
  return key == "thread-id"sv || key == "current-thread-id"sv;
}

// The first character rules out most keys before any comparison.
bool mayNameId(std::string_view key) {
  return !key.empty() && (key[0] == 't' || key[0] == 'c' || key[0] == 'g');
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

// Everything prints through append: one growing string instead of a stream's per-character
// bookkeeping.
void MiRecord::printToString(std::string& out) const {
  out.clear();
  append(out);
}

void MiRecord::print(std::ostream& os) const {
  std::string text;
  append(text);
  os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::ostream& operator<<(std::ostream& os, const MiRecord& record) {
  record.print(os);
  return os;
}

bool MiString::replaceThreadIds(ThreadIdTable&, const std::string&) { return true; }

void MiString::append(std::string& out) const {
  out += '"';
  out += value;
  out += '"';
}

// Pairs do not descend into their value; only maps rewrite a nested "thread-id".
bool MiPair::replaceThreadIds(ThreadIdTable& table, const std::string& engineId) {
  if (!mayNameId(name)) return true;
  if (isThreadIdKey(name) && !convertThreadId(*value, table, engineId)) return false;
  if (name == "group-id"sv && !replaceGroupId(*value)) return false;
  return true;
}

void MiPair::append(std::string& out) const {
  out += name;
  out += '=';
  value->append(out);
}

bool MiList::replaceThreadIds(ThreadIdTable& table, const std::string& engineId) {
  for (const MiRecordPtr& element : elements) {
    if (!element->replaceThreadIds(table, engineId)) return false;
  }
  return true;
}

void MiList::append(std::string& out) const {
  out += '[';
  bool first = true;
  for (const MiRecordPtr& element : elements) {
    if (!first) out += ',';
    first = false;
    element->append(out);
  }
  out += ']';
}

bool MiMap::replaceThreadIds(ThreadIdTable& table, const std::string& engineId) {
  for (const auto& [key, value] : entries) {
    if (!value->replaceThreadIds(table, engineId)) return false;
    if (!mayNameId(key)) continue;
    if (key == "threads"sv) {
      if (!convertThreadList(*value, table, engineId)) return false;
    } else if (isThreadIdKey(key)) {
      if (!convertThreadId(*value, table, engineId)) return false;
    }
    if (key == "group-id"sv && !replaceGroupId(*value)) return false;
  }
  for (const MiRecordPtr& tuple : moreTuples) {
    if (!tuple->replaceThreadIds(table, engineId)) return false;
  }
  return true;
}

void MiMap::append(std::string& out) const {
  if (!topLevel) out += '{';
  bool first = true;
  for (const auto& [key, value] : entries) {
    if (!first) out += ',';
    first = false;
    out += key;
    out += '=';
    value->append(out);
  }
  if (!topLevel) out += '}';
  for (const MiRecordPtr& tuple : moreTuples) {
    out += ',';
    tuple->append(out);
  }
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
  std::list<MiRecordPtr> moreCopy = found->moreTuples;
  out.topLevel = found->topLevel;
  out.entries = std::move(copy);
  out.moreTuples = std::move(moreCopy);
  return true;
}

void MiMap::setString(const std::string& key, const std::string& text) {
  (*this)[key] = makeMiNode<MiString>(text);
}

void MiMap::setList(const std::string& key, const std::list<MiRecordPtr>& items) {
  auto list = makeMiNode<MiList>();
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
