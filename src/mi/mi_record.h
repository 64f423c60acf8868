#pragma once
#include <boost/shared_ptr.hpp>
#include <list>
#include <ostream>
#include <string>
#include <utility>

#include "session/thread_id_table.h"

class MiRecord;
class MiString;
class MiPair;
class MiList;
class MiMap;

// Nodes are shared: a lookup that copies a map or a list out of a tree shares its children.
using MiRecordPtr = boost::shared_ptr<MiRecord>;

// One value of an MI record: a c-string, a result (name=value), a list or a tuple. The tree
// prints back as MI text byte for byte: no separator is ever written besides "," "=" and the
// brackets. Kinds are told apart by the conversions, which return null for another kind.
class MiRecord {
 public:
  virtual ~MiRecord() = default;

  // Rewrites, in place, the thread ids of engine `engineId` into user thread ids. False when a
  // structure cannot be handled; what was visited before stays rewritten.
  virtual bool replaceThreadIds(ThreadIdTable& table, const std::string& engineId) = 0;
  // Writes what append produces.
  virtual void print(std::ostream& os) const;

  virtual MiString* toMiString() { return nullptr; }
  virtual MiPair* toMiPair() { return nullptr; }
  virtual MiList* toMiList() { return nullptr; }
  virtual MiMap* toMiMap() { return nullptr; }
  virtual const MiString* toMiString() const { return nullptr; }
  virtual const MiPair* toMiPair() const { return nullptr; }
  virtual const MiList* toMiList() const { return nullptr; }
  virtual const MiMap* toMiMap() const { return nullptr; }

  // Appends the node's MI text to `out`.
  virtual void append(std::string& out) const = 0;

  // `out` becomes the node's MI text.
  void printToString(std::string& out) const;
};

std::ostream& operator<<(std::ostream& os, const MiRecord& record);

// The characters between the quotes of an MI c-string, still escaped ("a\"b" holds a\"b).
// Text put here by the program itself must already be in escaped form.
class MiString : public MiRecord {
 public:
  MiString() = default;
  explicit MiString(std::string value) : value(std::move(value)) {}

  bool replaceThreadIds(ThreadIdTable& table, const std::string& engineId) override;
  MiString* toMiString() override { return this; }
  const MiString* toMiString() const override { return this; }
  void append(std::string& out) const override;

  std::string value;
};

// A result inside a list. It does not descend into its value when ids are rewritten: only its
// own "thread-id", "current-thread-id" and "group-id" names are looked at.
class MiPair : public MiRecord {
 public:
  MiPair(std::string name, MiRecordPtr value) : name(std::move(name)), value(std::move(value)) {}

  bool replaceThreadIds(ThreadIdTable& table, const std::string& engineId) override;
  MiPair* toMiPair() override { return this; }
  const MiPair* toMiPair() const override { return this; }
  void append(std::string& out) const override;

  std::string name;
  MiRecordPtr value;  // never null
};

class MiList : public MiRecord {
 public:
  MiList() = default;

  bool replaceThreadIds(ThreadIdTable& table, const std::string& engineId) override;
  MiList* toMiList() override { return this; }
  const MiList* toMiList() const override { return this; }
  void append(std::string& out) const override;

  std::list<MiRecordPtr> elements;  // values or results (pairs), in order
};

// A tuple, or with `topLevel` the results part of a record, which prints without braces.
// Entries keep their insertion order; a key is never present twice. Every lookup finds the first
// entry with the key and leaves its output untouched when it returns false. A tuple may carry
// further bare tuples of the same result (a breakpoint with several locations:
// bkpt={...},{...},{...}); lookups see the first tuple only.
class MiMap : public MiRecord {
 public:
  using Entry = std::pair<std::string, MiRecordPtr>;

  explicit MiMap(bool topLevel) : topLevel(topLevel) {}

  bool replaceThreadIds(ThreadIdTable& table, const std::string& engineId) override;
  MiMap* toMiMap() override { return this; }
  const MiMap* toMiMap() const override { return this; }
  void append(std::string& out) const override;

  bool findRecord(const std::string& key, MiRecordPtr& out) const;
  bool findMiString(const std::string& key, MiString& out) const;
  bool findString(const std::string& key, std::string& out) const;
  // The copies below share the found node's children.
  bool findMiList(const std::string& key, MiList& out) const;
  bool findList(const std::string& key, std::list<MiRecordPtr>& out) const;
  // The copy also gets the found tuple's further tuples.
  bool findMiMap(const std::string& key, MiMap& out) const;

  // Each replaces the value of an existing entry in its position, or appends a new entry.
  void setString(const std::string& key, const std::string& text);
  void setList(const std::string& key, const std::list<MiRecordPtr>& items);
  void setMiList(const std::string& key, const MiList& list);
  // A new key appends an entry holding null; the caller assigns it at once.
  MiRecordPtr& operator[](const std::string& key);

  std::list<Entry> entries;
  bool topLevel;
  // Tuples (MiMap nodes) that print after this one, each after a comma. Ids are rewritten in
  // them as in this tuple's own entries.
  std::list<MiRecordPtr> moreTuples;

 private:
  const MiRecord* findNode(const std::string& key) const;
};
