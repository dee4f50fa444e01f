/*
 * The grammar of the text configuration format.
 *
 * A token's value is the index of the loader's buffer that holds its text; its location is where
 * it begins. A reduction only tells the loader what was read: what that means, and when a text
 * buffer is free again, is the loader's (config/text_loader_actions.cpp). A load that has failed
 * returns -1 from here.
 *
 * The `error` rules name what was expected where the input broke the grammar. They all end the
 * load, so nothing is ever recovered; their messages tell the place of the offending token, which
 * is the last one read.
 *
 * The stack is fixed at 200 entries, which bounds how deep objects nest and with it the memory that
 * an input can make the parser use.
 */

%define api.pure full
%define api.prefix {hc}
%define api.token.prefix {HC_}
%define api.value.type {int}
%define api.location.type {HConfig::TokenLoc}
%locations
%param {void* loader}
%expect 0

%code requires {
#include "config/text_loader.h"
}

%code {
#define YYINITDEPTH 200
#define YYMAXDEPTH 200

// A symbol lies where its first token lies; one without tokens, where the one before it lies.
#define YYLLOC_DEFAULT(Current, Rhs, N)                                                            \
    ((Current) = (N) != 0 ? YYRHSLOC(Rhs, 1) : YYRHSLOC(Rhs, 0))

namespace {

inline HConfig::TextLoader& to(void* loader) { return *static_cast<HConfig::TextLoader*>(loader); }

inline int hcerror(HConfig::TokenLoc* /*location*/, void* /*loader*/, const char* message) {
    return ::hcerror(message);
}

} // namespace
}

%token NAME VALUE OBJECT EQ SET_B SET_E OBJ_B OBJ_E SL_COMM ML_COMM LEX_ERROR

%%

cfg: seq                        { if (!to(loader).onEnd()) return -1; }
    ;

seq: seq majObj
    | seq error                 { to(loader).failMajor(); return -1; }
    | seq comm
    | %empty
    ;

majObj: NAME commSeq            { if (!to(loader).onMajorBegin($1, @1)) return -1; }
        OBJ_B attrDefSeq OBJ_E  { if (!to(loader).onMajorEnd(@6)) return -1; }
    ;

attrDefSeq: attrDefSeq attrDef
    | attrDefSeq comm
    | attrDefSeq error          { to(loader).failAttribute(); return -1; }
    | %empty
    ;

attrDef: attrName attrAssign attrValue  { to(loader).onAttributeEnd(); }
    ;

attrName: NAME commSeq          { if (!to(loader).onAttributeName($1, @1)) return -1; }
    | NAME commSeq error        { to(loader).failAssignmentOf($1); return -1; }
    ;

attrAssign: EQ commSeq
    | EQ commSeq error          { to(loader).failAssignment(); return -1; }
    ;

attrValue: value                { if (!to(loader).onValue($1, @1)) return -1; }
    | OBJ_B                     { if (!to(loader).onObjectBegin(@1)) return -1; }
      attrDefSeq OBJ_E          { if (!to(loader).onObjectEnd(@4)) return -1; }
    | SET_B commSeq setSeq SET_E
    ;

setSeq: valueSeq                { to(loader).onSetEnd(); }
    | objectSeq                 { to(loader).onSetEnd(); }
    | %empty                    { if (!to(loader).onEmptySet()) return -1; }
    ;

valueSeq: valueSeq value        { if (!to(loader).onNextMember($2, @2)) return -1; }
    | valueSeq comm
    | value                     { if (!to(loader).onFirstMember($1, @1)) return -1; }
    ;

objectSeq: objectSeq OBJ_B      { to(loader).onNextMemberBegin(@2); }
           attrDefSeq OBJ_E     { if (!to(loader).onMemberEnd(@5)) return -1; }
    | objectSeq comm
    | OBJ_B                     { if (!to(loader).onFirstMemberBegin(@1)) return -1; }
      attrDefSeq OBJ_E          { if (!to(loader).onMemberEnd(@4)) return -1; }
    ;

value: VALUE
    | NAME
    | OBJECT
    ;

comm: SL_COMM
    | ML_COMM
    ;

commSeq: commSeq comm
    | %empty
    ;

%%
