%{
// The grammar of the results part of an MI record. Token texts are views of the scanner's
// buffer, which outlives the parse; nodes wait in a pool and the stack holds their indexes. An
// action moves a node out of the pool into its parent, and what a failed parse leaves in the
// pool is released with it, so nothing on the stack needs a destructor.
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/diagnostics.h"
#include "mi/mi_node_alloc.h"
#include "mi/mi_parser.h"
#include "mi/mi_record.h"

// The stack starts with room for 200 entries and may grow to 10000. Lists and results are
// left-recursive: each item is reduced into its list as soon as it ends, so a list of any length
// takes a few entries and only nesting depth is bounded.
#define YYINITDEPTH 200
#define YYMAXDEPTH 10000
// A grown stack lives in the parser's own frame: big records would otherwise cost a malloc and
// a free of several kilobytes each. At the limit that is about 200 KB of the thread's stack.
#define YYSTACK_USE_ALLOCA 1
// A full stack is reported as an overflow, not as the generic memory text.
#define YY_(Msgid) (std::string_view(Msgid) == "memory exhausted" ? "parser stack overflow" : (Msgid))
%}

%code requires {
#include <string>
struct MiNodePool;
#ifndef YY_TYPEDEF_YY_SCANNER_T
#define YY_TYPEDEF_YY_SCANNER_T
typedef void* yyscan_t;
#endif

// Where a token's text stands in the scanner's buffer: its offset in the high half, its size in
// the low half. Every semantic value fits in 8 bytes, so the parser copies what the scanner
// stored in one piece.
typedef unsigned long long MiToken;

// Results whose last one is tuple-valued: their map, and that last result (in the pool's
// results), which bare tuples after it may still join before it takes its place in the map.
struct MiTupleRun {
  int map;
  int pending;
};
}

%code provides {
int wemmilex_init(yyscan_t* scanner);
int wemmilex_destroy(yyscan_t scanner);
void setBufferState(yyscan_t scanner, std::string& storage, const std::string& text);
void clearBufferState(yyscan_t scanner);
const char* currentTokenText(yyscan_t scanner);
}

%code {
// The scanner is compiled into this file (at its end), so that the parser's one call of it can
// be inlined: a call per token cost as much as a tenth of a parse.
static int wemmilex(WEMMISTYPE* yylval, yyscan_t scanner);

// A name and its value before either has a place in the tree.
struct MiResult {
  MiToken name;
  int node;
};

// The nodes of one parse, and its results that await a place; both vectors keep their room
// from one parse to the next.
struct MiNodePool {
  template <class Node, class... Args>
  int add(Args&&... args) {
    return adopt(makeMiNode<Node>(std::forward<Args>(args)...));
  }
  int adopt(MiRecordPtr node) {
    nodes.push_back(std::move(node));
    return static_cast<int>(nodes.size()) - 1;
  }
  MiRecordPtr take(int node) { return std::move(nodes[node]); }
  int addResult(MiToken name, int node) {
    results.push_back(MiResult{name, node});
    return static_cast<int>(results.size()) - 1;
  }
  std::string_view textOf(MiToken token) const {
    return std::string_view(text + (token >> 32), token & 0xffffffffu);
  }
  // The grammar decides each node's kind.
  MiMap& map(int node) { return static_cast<MiMap&>(*nodes[node]); }
  MiList& list(int node) { return static_cast<MiList&>(*nodes[node]); }

  const char* text = nullptr;  // the scanner's buffer
  std::vector<MiRecordPtr> nodes;
  std::vector<MiResult> results;
  // For each map being built, one bit per name it holds (by a hash of the name), so that most
  // results are known to be new without walking the entries.
  std::vector<uint64_t> nameBits;
  int result = -1;
};

namespace {

void yyerror(yyscan_t scanner, MiNodePool& pool, const char* message);

// A STRING token's text less its quotes; escape sequences stay as the engine wrote them.
int addString(MiNodePool& pool, MiToken token) {
  const std::string_view text = pool.textOf(token);
  boost::shared_ptr<MiString> node = makeEmptyMiString();
  node->value.append(text.data() + 1, text.size() - 2);
  return pool.adopt(std::move(node));
}

// Puts `pending` after the results that the map `map` already holds: a repeated name keeps the
// position of its first occurrence and the value of its last.
void putLast(MiNodePool& pool, int map, int pending) {
  const MiResult result = pool.results[pending];
  std::list<MiMap::Entry>& entries = pool.map(map).entries;
  const std::string_view name = pool.textOf(result.name);
  // Names are never empty; most differ in length, in their first or in their last character.
  const uint64_t bit = uint64_t{1} << ((name.size() * 5 + name.front() * 3 + name.back()) & 63);
  uint64_t& names = pool.nameBits[map];
  if (names & bit) {
    for (MiMap::Entry& entry : entries) {
      if (entry.first == name) {
        entry.second = pool.take(result.node);
        return;
      }
    }
  }
  names |= bit;
  pushBackMiEntry(entries, name, pool.take(result.node));
}

int makeMap(MiNodePool& pool) {
  const int map = pool.add<MiMap>(false);
  if (pool.nameBits.size() < pool.nodes.size()) pool.nameBits.resize(pool.nodes.size());
  pool.nameBits[map] = 0;
  return map;
}

int makeMap(MiNodePool& pool, int pending) {
  const int map = makeMap(pool);
  putLast(pool, map, pending);
  return map;
}

}  // namespace
}

%define api.pure full
%define api.prefix {wemmi}
%param {yyscan_t scanner}
%parse-param {MiNodePool& pool}

%union {
  MiToken token;
  MiTupleRun run;
  int node;
  int result;  // in the pool's results
}

%token <token> STRING VARIABLE
%type <result> result plain_result
%type <run> tuple_results
%type <node> result_list plain_results element_list list tuple element const

%start record

%%

record
  : result_list { pool.map($1).topLevel = true; pool.result = $1; }
  ;

  /* A result whose value is a tuple may be followed by bare tuples that belong to it, as in a
     breakpoint with several locations: bkpt={...},{...},{...}. Such a result joins its map only
     once the next result or the end shows that no further tuple follows. */
result_list
  : plain_results { $$ = $1; }
  | tuple_results { putLast(pool, $1.map, $1.pending); $$ = $1.map; }
  ;

plain_results
  : plain_result { $$ = makeMap(pool, $1); }
  | plain_results ',' plain_result { putLast(pool, $1, $3); $$ = $1; }
  | tuple_results ',' plain_result {
      putLast(pool, $1.map, $1.pending);
      putLast(pool, $1.map, $3);
      $$ = $1.map;
    }
  ;

tuple_results
  : VARIABLE '=' tuple { $$ = MiTupleRun{makeMap(pool), pool.addResult($1, $3)}; }
  | plain_results ',' VARIABLE '=' tuple { $$ = MiTupleRun{$1, pool.addResult($3, $5)}; }
  | tuple_results ',' VARIABLE '=' tuple {
      putLast(pool, $1.map, $1.pending);
      $$ = MiTupleRun{$1.map, pool.addResult($3, $5)};
    }
  | tuple_results ',' tuple {
      pushBackMiElement(pool.map(pool.results[$1.pending].node).moreTuples, pool.take($3));
      $$ = $1;
    }
  ;

plain_result
  : VARIABLE '=' STRING { $$ = pool.addResult($1, addString(pool, $3)); }
  | VARIABLE '=' list { $$ = pool.addResult($1, $3); }
  ;

  /* Inside a list a tuple-valued result stands alone; bare tuples after it are elements. */
result
  : plain_result { $$ = $1; }
  | VARIABLE '=' tuple { $$ = pool.addResult($1, $3); }
  ;

tuple
  : '{' '}' { $$ = pool.add<MiMap>(false); }
  | '{' result_list '}' { $$ = $2; }
  ;

element
  : result {
      const MiResult result = pool.results[$1];
      $$ = pool.add<MiPair>(std::string(pool.textOf(result.name)), pool.take(result.node));
    }
  | tuple { $$ = $1; }
  | list { $$ = $1; }
  | const { $$ = $1; }
  ;

element_list
  : element { $$ = pool.add<MiList>(); pushBackMiElement(pool.list($$).elements, pool.take($1)); }
  | element_list ',' element { pushBackMiElement(pool.list($1).elements, pool.take($3)); $$ = $1; }
  ;

list
  : '[' ']' { $$ = pool.add<MiList>(); }
  | '[' element_list ']' { $$ = $2; }
  ;

const
  : STRING { $$ = addString(pool, $1); }
  ;

%%

namespace {

// The error line is an MI log-stream record naming the token the parser stopped at. The parser
// may already have reduced a whole record before its look-ahead shows an error (a default
// reduction, e.g. at the "b" of a="1"b="2"): that record is dropped here.
void yyerror(yyscan_t scanner, MiNodePool& pool, const char* message) {
  pool.result = -1;
  // Through the channel that never blocks: a full standard error must not stall the session.
  writeStandardError(std::string("&\"Syntax Error: ") + message + " at \\\"" +
                     currentTokenText(scanner) + "\\\"\"\n");
}

// One scanner and node pool per thread, kept between parses; a parse sets the buffer and clears
// it and the pool again on every path, so nothing carries over from one record to the next.
struct ScannerState {
  ScannerState() { wemmilex_init(&scanner); }
  ~ScannerState() { wemmilex_destroy(scanner); }
  ScannerState(const ScannerState&) = delete;
  ScannerState& operator=(const ScannerState&) = delete;

  yyscan_t scanner = nullptr;
  std::string storage;
  MiNodePool pool;
};

class BufferGuard {
 public:
  BufferGuard(ScannerState& state, const std::string& text) : state(state) {
    setBufferState(state.scanner, state.storage, text);
  }
  ~BufferGuard() {
    clearBufferState(state.scanner);
    state.pool.nodes.clear();
    state.pool.results.clear();
    state.pool.result = -1;
  }
  BufferGuard(const BufferGuard&) = delete;
  BufferGuard& operator=(const BufferGuard&) = delete;

 private:
  ScannerState& state;
};

}  // namespace

bool parseMiRecord(const std::string& text, MiRecordPtr& out) {
  thread_local ScannerState state;
  BufferGuard buffer(state, text);
  state.pool.text = state.storage.data();
  if (wemmiparse(state.scanner, state.pool) != 0 || state.pool.result < 0) return false;
  out = state.pool.take(state.pool.result);
  return true;
}

// The generated scanner; see the declaration of wemmilex above.
#include "mi/mi_scanner.cc"
