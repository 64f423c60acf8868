%{
// The grammar of the results part of an MI record. Token texts and nodes on the parser stack
// are raw pointers owned by the parser: an action either hands them on or deletes them, and
// %destructor releases whatever a failed parse leaves on the stack or in the look-ahead.
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "mi/mi_parser.h"
#include "mi/mi_record.h"

// The stack starts with room for 200 entries and may grow to 10000; lists are right-recursive,
// so every item of an open list stays on the stack until its closing bracket.
#define YYINITDEPTH 200
#define YYMAXDEPTH 10000
// A full stack is reported as an overflow, not as the generic memory text.
#define YY_(Msgid) (std::string_view(Msgid) == "memory exhausted" ? "parser stack overflow" : (Msgid))
%}

%code requires {
#include <string>
class MiRecord;
class MiString;
class MiPair;
class MiList;
class MiMap;
#ifndef YY_TYPEDEF_YY_SCANNER_T
#define YY_TYPEDEF_YY_SCANNER_T
typedef void* yyscan_t;
#endif
}

%code provides {
int wemmilex(WEMMISTYPE* yylval, yyscan_t scanner);
int wemmilex_init(yyscan_t* scanner);
int wemmilex_destroy(yyscan_t scanner);
void setBufferState(yyscan_t scanner, std::string& storage, const std::string& text);
void clearBufferState(yyscan_t scanner);
const char* currentTokenText(yyscan_t scanner);
}

%code {
namespace {

void yyerror(yyscan_t scanner, MiMap** result, const char* message);

// Enters the pairs of `pairs` in order by operator[]: a repeated name keeps the position of its
// first occurrence and the value of its last. The list and its pairs are released.
MiMap* makeMap(bool topLevel, MiList* pairs) {
  auto* map = new MiMap(topLevel);
  for (MiRecordPtr& element : pairs->elements) {
    MiPair* pair = element->toMiPair();
    (*map)[pair->name] = std::move(pair->value);
  }
  delete pairs;
  return map;
}

// A STRING token's text less its quotes; escape sequences stay as the engine wrote them.
MiString* makeString(std::string* token) {
  token->pop_back();
  token->erase(0, 1);
  auto* string = new MiString(std::move(*token));
  delete token;
  return string;
}

MiPair* makePair(std::string* name, MiRecord* value) {
  auto* pair = new MiPair(std::move(*name), MiRecordPtr(value));
  delete name;
  return pair;
}

// Puts `item` in front of `list`: the lists are built from their last item backwards.
MiList* prepend(MiRecord* item, MiList* list) {
  list->elements.emplace_front(item);
  return list;
}

MiList* makeList(MiRecord* item) {
  auto* list = new MiList();
  list->elements.emplace_front(item);
  return list;
}

}  // namespace
}

%define api.pure full
%define api.prefix {wemmi}
%param {yyscan_t scanner}
%parse-param {MiMap** result}

%union {
  std::string* text;
  MiRecord* node;
  MiString* string;
  MiPair* pair;
  MiList* list;
  MiMap* map;
}

%token <text> STRING VARIABLE
%type <pair> result
%type <list> result_list element_list list
%type <map> tuple
%type <node> element
%type <string> const

%destructor { delete $$; } <*>

%start record

%%

record
  : result_list { *result = makeMap(true, $1); }
  ;

result_list
  : result { $$ = makeList($1); }
  | result ',' result_list { $$ = prepend($1, $3); }
  ;

result
  : VARIABLE '=' STRING { $$ = makePair($1, makeString($3)); }
  | VARIABLE '=' tuple { $$ = makePair($1, $3); }
  | VARIABLE '=' list { $$ = makePair($1, $3); }
  ;

tuple
  : '{' '}' { $$ = new MiMap(false); }
  | '{' result_list '}' { $$ = makeMap(false, $2); }
  ;

element
  : result { $$ = $1; }
  | tuple { $$ = $1; }
  | list { $$ = $1; }
  | const { $$ = $1; }
  ;

element_list
  : element { $$ = makeList($1); }
  | element ',' element_list { $$ = prepend($1, $3); }
  ;

list
  : '[' ']' { $$ = new MiList(); }
  | '[' element_list ']' { $$ = $2; }
  ;

const
  : STRING { $$ = makeString($1); }
  ;

%%

namespace {

// The error line is an MI log-stream record naming the token the parser stopped at. The parser
// may already have reduced a whole record before its look-ahead shows an error (a default
// reduction, e.g. at the "b" of a="1"b="2"): that record is released here.
void yyerror(yyscan_t scanner, MiMap** result, const char* message) {
  delete *result;
  *result = nullptr;
  std::fprintf(stderr, "&\"Syntax Error: %s at \\\"%s\\\"\"\n", message,
               currentTokenText(scanner));
}

// One scanner per thread, kept between parses; a parse sets its buffer and clears it again on
// every path, so nothing carries over from one record to the next.
struct ScannerState {
  ScannerState() { wemmilex_init(&scanner); }
  ~ScannerState() { wemmilex_destroy(scanner); }
  ScannerState(const ScannerState&) = delete;
  ScannerState& operator=(const ScannerState&) = delete;

  yyscan_t scanner = nullptr;
  std::string storage;
};

class BufferGuard {
 public:
  BufferGuard(ScannerState& state, const std::string& text) : scanner(state.scanner) {
    setBufferState(scanner, state.storage, text);
  }
  ~BufferGuard() { clearBufferState(scanner); }
  BufferGuard(const BufferGuard&) = delete;
  BufferGuard& operator=(const BufferGuard&) = delete;

 private:
  yyscan_t scanner;
};

}  // namespace

bool parseMiRecord(const std::string& text, MiRecordPtr& out) {
  thread_local ScannerState state;
  MiMap* result = nullptr;
  BufferGuard buffer(state, text);
  if (wemmiparse(state.scanner, &result) != 0 || !result)
    return false;
  out.reset(result);
  return true;
}
