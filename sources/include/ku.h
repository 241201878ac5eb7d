/*
 * ku.h: the interface and the manual of libku, a finite-domain constraint solver.
 *
 * A client creates variables whose values are limited to intervals or sets of integers, posts constraints on them and
 * asks a search driver for solutions. A constraint narrows the domains of its variables when it is posted, and again on
 * every later change; search assigns values depth first and undoes all that from a trail when a choice fails.
 *
 * A whole program, which colours the map of Australia with three colours:
 *
 *     #include <ku.h>
 *
 *     int main(void)
 *     {
 *       static const char* name[7] = {"WA", "NT", "SA", "Q", "NSW", "V", "T"};
 *       static const int border[9][2] = {{0, 1}, {0, 2}, {1, 2}, {1, 3}, {2, 3}, {2, 4}, {2, 5}, {3, 4}, {4, 5}};
 *       CSint* state[7];
 *
 *       cs_init();
 *       for (int i = 0; i < 7; i++)
 *         state[i] = cs_createNamedCSint(1, 3, name[i]);
 *       for (int i = 0; i < 9; i++)
 *         if (!cs_Neq(state[border[i][0]], state[border[i][1]]))
 *           return 1;
 *       if (cs_search(state, 7, cs_findFreeVarNbElements))
 *         cs_printf("%A\n", state, 7);
 *       cs_end();
 *       return 0;
 *     }
 *
 * It prints: WA: 1, NT: 2, SA: 3, Q: 1, NSW: 2, V: 1, T: 1
 *
 * What holds throughout
 *
 *   One solver. There is one solver in a process, without a handle, and it serves one thread. Between cs_init and
 *   cs_end variables, constraints, contexts and searches may follow each other in any order. Before cs_init and after
 *   cs_end only cs_init, cs_end, cs_getVersion, cs_getErr, cs_setErr, cs_initErr, cs_setErrHandler, cs_freeDomain, the
 *   counters of the last search, and the writing of the report of a deleted profiler may be called.
 *
 *   Values are 32-bit signed. Where a bound can leave that range, the function says whether it saturates or wraps.
 *   A variable's range (max - min + 1) should stay below 2^31: the count of its values is kept in 32 bits and wraps.
 *
 *   Results. A function that can fail returns an int, 0 for failure, or a pointer, null for failure. Failure of a
 *   constraint is no error: it means that no solution is left here. The variables stay partly narrowed, and the
 *   constraint stays attached, until a context that was saved before is restored.
 *
 *   Errors are three: the value of a free variable was asked for, a sum overflowed, memory ran out; see
 *   cs_setErrHandler.
 *
 *   Names. Two capitals (cs_EQ, cs_LT) relate a variable to a number; one capital (cs_Eq, cs_Lt) relates variables. A V
 *   after cs_ marks a variadic form: a count, then that many variables.
 *
 *   Callbacks must return: no exception and no longjmp may leave one. A callback that answers yes or no returns an int
 *   of which the low 8 bits count: 256 is a no.
 *
 *   Null variables, arrays shorter than the count that is passed, and variables from before the last cs_end are the
 *   caller's fault and aren't checked.
 *
 * Words used below. "Forward checking": a constraint removes values only once a variable is instantiated. "Bounds
 * consistency": each bound is supported by the bounds of the other variables; holes are not looked at. "Domain
 * consistency": each value is supported.
 */
#ifndef KU_H
#define KU_H

#include <stdint.h>
#include <stdio.h>

#if defined(_WIN32)
#define CS_API
#else
#define CS_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

struct Domain;
struct Tconstraint;

/*
 * A constrained integer variable. Its values are the integers of _min.._max without those whose bit is off in _domain.
 * Clients may read the fields; only the library writes them.
 */
typedef struct CSint
{
  int32_t _initMin;                 /* bounds at creation */
  int32_t _initMax;                 /* */
  int32_t _min;                     /* smallest value */
  int32_t _max;                     /* largest value */
  struct Domain* _domain;           /* bit-set, or null while no value between the bounds was ever removed */
  int32_t _nbElements;              /* number of values; 1 when the variable is instantiated */
  int32_t _nbConstraints;           /* attachments ever made; restoring doesn't lower it */
  char* _name;                      /* or null */
  struct Tconstraint* _constraints; /* attached constraints, newest first */
  int32_t _propMin;                 /* bounds that the constraints were last told */
  int32_t _propMax;                 /* */
} CSint;

/* ---------------------------------------------------------------------------------------------------------------------
 * Start and end
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Starts the solver. When it is already running, only the error handlers go back to their defaults and the error code
 * to 0: calls don't nest, and one cs_end ends them all. Test cs_getErr afterwards: CS_ERR_NO_MEMORY means that the
 * start failed; the process isn't ended in that case.
 */
CS_API void cs_init(void);

/*
 * Ends the solver and frees all that it holds: variables, constraints, names, arrays of cs_createCSintArray, profilers.
 * Nothing is undone: no function of cs_backtrack runs. The locator goes back to the default. Nothing happens when the
 * solver is down. It may be started again; counters of the last search stay readable.
 */
CS_API void cs_end(void);

/* The library's version, "3.8.0". */
CS_API const char* cs_getVersion(void);

/* ---------------------------------------------------------------------------------------------------------------------
 * Errors
 * ------------------------------------------------------------------------------------------------------------------ */

#define CS_ERR_GETVALUE (-1)  /* cs_getValue of a variable that isn't instantiated */
#define CS_ERR_OVERFLOW (-2)  /* an arithmetic overflow in a linear sum */
#define CS_ERR_NO_MEMORY (-3) /* a failed allocation, anywhere */

/*
 * Called when an error occurred, with the code already set: the variable for CS_ERR_GETVALUE, else null, and the extra
 * pointer given to cs_setErrHandler. It may return; the failing function then goes on and answers 0 or null (and
 * cs_getValue the lower bound).
 */
typedef void (*CSerrHandler)(CSint* variable, void* extra);

/*
 * Installs the handler of one error. A null handler puts the default back, which writes the variable to the error
 * stream (CS_ERR_GETVALUE), does nothing (CS_ERR_OVERFLOW) or aborts (CS_ERR_NO_MEMORY). `extra` is stored in any case.
 * Another code changes nothing. cs_init puts all the defaults back: install handlers after it.
 *
 * With a handler for CS_ERR_NO_MEMORY that returns, the functions that have no way of telling a failure need the memory
 * all the same: cs_saveContext, cs_restoreAndSaveContext (and with them the search drivers), cs_backtrack and
 * cs_backtrackExt don't survive a failed allocation; and a variable whose removal of an inner value failed for lack of
 * memory must not be restored past that point. Such a handler should end the process or prepare for its end.
 */
CS_API void cs_setErrHandler(int code, CSerrHandler handler, void* extra);

/* The code of the last error, or 0. Success doesn't clear it; cs_initErr and cs_init do. */
CS_API int cs_getErr(void);

/* Stores any code; no handler is called. */
CS_API void cs_setErr(int code);

/* Sets the code to 0. */
CS_API void cs_initErr(void);

/* ---------------------------------------------------------------------------------------------------------------------
 * Variables
 * ------------------------------------------------------------------------------------------------------------------ */

/* A new constant: a variable with the one value. Null when out of memory. */
CS_API CSint* CSINT(int value);

/*
 * A new variable with the values min..max. Null when min > max or out of memory. Like all variables it lives until
 * cs_end, also when it was made inside a context that was restored.
 */
CS_API CSint* cs_createCSint(int min, int max);

/* The same with a name, which is copied. The name must not be null. */
CS_API CSint* cs_createNamedCSint(int min, int max, const char* name);

/*
 * An array of `count` new variables with the values min..max. The array belongs to the trail: don't free it, and don't
 * use it after the context in which it was made has been restored or accepted (forgetting a context keeps it). The
 * variables live on. Null when min > max or out of memory; with count < 1 an empty array.
 */
CS_API CSint** cs_createCSintArray(int count, int min, int max);

/*
 * A new variable with the listed values, in any order; duplicates count once. The list isn't kept. Null when count < 1
 * or out of memory. Memory: one bit for each integer between the smallest and the largest value.
 */
CS_API CSint* cs_createCSintFromDomain(const int* values, int count);

CS_API int cs_isFree(const CSint* variable);         /* 1 when it has more than one value */
CS_API int cs_isInstantiated(const CSint* variable); /* 1 when it has one value */
CS_API int cs_isIn(const CSint* variable, int value);
CS_API int cs_getMin(const CSint* variable);
CS_API int cs_getMax(const CSint* variable);
CS_API int cs_getNbElements(const CSint* variable); /* number of values */

/* Attachments of constraints ever made to the variable. Restoring a context doesn't lower it. */
CS_API int cs_getNbConstraints(const CSint* variable);

/* The variable's own copy of the name, or null. */
CS_API const char* cs_getName(const CSint* variable);

/*
 * Copies `name` (not null) into the variable and returns the copy. A name no longer than the present one goes into the
 * same buffer. Null when out of memory. Names aren't undone by contexts.
 */
CS_API const char* cs_setName(CSint* variable, const char* name);

/* The value of an instantiated variable. For a free one: CS_ERR_GETVALUE, then, if the handler returns, the minimum. */
CS_API int cs_getValue(const CSint* variable);

/*
 * The smallest value above `value`, or 2147483647 when there is none. A loop over a domain:
 *     for (int x = cs_getMin(v);; x = cs_getNextValue(v, x)) { ...; if (x == cs_getMax(v)) break; }
 */
CS_API int cs_getNextValue(const CSint* variable, int value);

/* The largest value below `value`, or -2147483648 when there is none. */
CS_API int cs_getPreviousValue(const CSint* variable, int value);

/*
 * A new array of the domain's values, ascending, cs_getNbElements of them. Free it with cs_freeDomain, at any time.
 * Null when out of memory.
 */
CS_API int* cs_getDomain(const CSint* variable);

/* Frees an array of cs_getDomain; null is accepted. */
CS_API void cs_freeDomain(int* values);

/* ---------------------------------------------------------------------------------------------------------------------
 * Printing
 *
 * As printf and fprintf, with three conversions more, a single capital letter without flags or width:
 *     %D  a CSint*                the domain: 5, {3, 4}, {3..9}, {1, 2, 4..7}
 *     %T  a CSint*                the name, a colon and a blank if it has one, then the domain
 *     %A  a CSint** and an int    the variables as by %T, with ", " between them
 * Each other conversion takes one integer or pointer: floating-point arguments and a `*` for a width aren't supported.
 * A doubled percent sign comes out single behind a standard conversion (in "%d%%"), but stays doubled at the front of
 * the format and behind %D, %T and %A.
 * ------------------------------------------------------------------------------------------------------------------ */

CS_API void cs_printf(const char* format, ...);
CS_API void cs_fprintf(FILE* stream, const char* format, ...);

/* ---------------------------------------------------------------------------------------------------------------------
 * Contexts
 *
 * A context is a mark on the trail. Restoring it brings back every domain, every attachment and the client's own data
 * as they were at the mark; accepting it drops the records and keeps the changes for good; forgetting it hands the
 * changes to the enclosing context. Contexts are a stack and have labels: the outermost is 1. What is done
 * while no context exists is never undone.
 *
 *              changes                     functions of cs_backtrack     arrays of cs_createCSintArray
 *     restore  undone                      run, newest first             freed
 *     accept   stand, see below            never run                     freed
 *     forget   belong to the outer one     wait for the outer one        live on
 *
 * What is accepted can't be undone any more, but an enclosing context still undoes its own records. If it had changed
 * the same variable before, its restore puts that variable's older bounds and count back over the accepted ones; if it
 * had attached a constraint to it, the newest attachment goes in place of that one, and the constraint that loses it
 * may miss changes from then on or do nothing at all any more. So accept only what touches other variables than the
 * enclosing context does; where both touch one, forget instead.
 *
 * Saves and pops must be balanced. A restore, accept or forget with no context on the stack, or an Until form with a
 * label below 1, is a fault of the caller that the solver doesn't survive.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Saves a context and returns its label, which is the new depth of the stack. */
CS_API int cs_saveContext(void);

CS_API void cs_restoreContext(void);    /* restores the innermost context */
CS_API void cs_acceptContext(void);     /* accepts the innermost context */
CS_API void cs_forgetSaveContext(void); /* forgets the innermost context */

/* The same for all contexts down to and including `label`; nothing happens when the stack is lower than that. */
CS_API void cs_restoreContextUntil(int label);
CS_API void cs_acceptContextUntil(int label);
CS_API void cs_forgetSaveContextUntil(int label);

/* The same for all contexts; nothing happens when there is none. */
CS_API void cs_restoreAll(void);
CS_API void cs_acceptAll(void);

/* Restores the innermost context and saves it anew, under the same label. */
CS_API void cs_restoreAndSaveContext(void);

/* Called with the client's data and value when the trail is undone past the registration. */
typedef void (*CSbacktrack)(void* data, int value);
typedef void (*CSbacktrackExt)(void* data, int64_t value);

/*
 * Registers a function that runs once when the innermost context, or one around it, is restored. The solver doesn't
 * look at `data`, and frees nothing. Functions run in the reverse order of registration, between the undoing of the
 * changes made before and after them.
 */
CS_API void cs_backtrack(void* data, int value, CSbacktrack function);
CS_API void cs_backtrackExt(void* data, int64_t value, CSbacktrackExt function);

/* ---------------------------------------------------------------------------------------------------------------------
 * Unary constraints
 *
 * They narrow the variable at once and leave nothing attached. The result is 1 when the constraint holds afterwards.
 * Domain consistent. Each change runs the propagation of all constraints on the variable.
 * ------------------------------------------------------------------------------------------------------------------ */

CS_API int cs_EQ(CSint* variable, int value);  /* variable = value */
CS_API int cs_NEQ(CSint* variable, int value); /* variable != value; the first inner hole makes a bit-set */
CS_API int cs_LE(CSint* variable, int value);  /* variable <= value */
CS_API int cs_GE(CSint* variable, int value);  /* variable >= value */
CS_API int cs_LT(CSint* variable, int value);  /* variable < value; value - 1 wraps: no effect for -2147483648 */
CS_API int cs_GT(CSint* variable, int value);  /* variable > value; value + 1 wraps: no effect for 2147483647 */

/*
 * The variable takes one of the `count` values, in any order, with duplicates or not; the array isn't kept. With
 * count < 1 it fails and changes nothing. Cost: the size of the domain times `count`.
 */
CS_API int cs_InArray(CSint* variable, const int* values, int count);

/* The variable takes none of the `count` values. With count < 1 it holds. */
CS_API int cs_NotInArray(CSint* variable, const int* values, int count);

/* low <= variable <= high. With low > high it fails, and the minimum may stay raised. */
CS_API int cs_InInterval(CSint* variable, int low, int high);

/* The variable lies outside low..high. With low > high it holds. The values go one by one: cost high - low + 1. */
CS_API int cs_NotInInterval(CSint* variable, int low, int high);

/* ---------------------------------------------------------------------------------------------------------------------
 * Binary relations
 *
 * 1 when the relation can hold as far as its strength sees, 0 when it fails or memory ran out. cs_Neq, cs_Lt and cs_Gt
 * of a variable with itself fail, cs_Eq, cs_Le and cs_Ge hold; in both cases nothing is attached.
 * ------------------------------------------------------------------------------------------------------------------ */

CS_API int cs_Eq(CSint* x, CSint* y);  /* x = y, domain consistent */
CS_API int cs_Neq(CSint* x, CSint* y); /* x != y, forward checking */
CS_API int cs_Le(CSint* x, CSint* y);  /* x <= y, bounds consistent */
CS_API int cs_Ge(CSint* x, CSint* y);  /* x >= y, bounds consistent */

/*
 * x < y and x > y, bounds consistent. The bound plus or minus one wraps at the edge of 32 bits: with x fixed to
 * 2147483647 and y fixed to -2147483648 cs_Lt(x, y) succeeds. Keep one of the bounds inside the range.
 */
CS_API int cs_Lt(CSint* x, CSint* y);
CS_API int cs_Gt(CSint* x, CSint* y);

/*
 * The variables are pairwise different. Forward checking, and a span test: the values between the smallest minimum and
 * the largest maximum of all must be at least `size` (some witnesses are tested, not at each change the true extremes).
 * No reasoning on Hall intervals. The array is kept by reference and must stay as it is, and alive, as long as the
 * constraint lives. With size < 1 it holds and posts nothing.
 *
 * The span is 32-bit arithmetic that wraps: it must be below 2^31 or the constraint fails. A variable that stands twice
 * in the array fails when it is instantiated at posting, and isn't noticed when it becomes so later.
 */
CS_API int cs_AllNeq(CSint** variables, int size);

/* ---------------------------------------------------------------------------------------------------------------------
 * Reified comparisons
 *
 * Each makes and returns a boolean, a variable that is 1 exactly when the comparison holds and 0 exactly when it
 * doesn't. Once the bounds decide the comparison the boolean is fixed; once the boolean is fixed, by whatever
 * constraint, the comparison or its negation is enforced. Where the bounds decide already, or x and y are the same
 * variable, the result is a constant as of CSINT and nothing is attached: no later change is looked at. Null when out
 * of memory.
 *
 * Domain consistent, by bounds alone: the holes of x and y play no part, as none bears on an order. A handler call
 * takes a few comparisons; holes cost nothing and none is made. The answers are right up to the edges of 32 bits.
 *
 * The boolean may be used like any other variable: in a sum to count how many comparisons hold, with cs_Eq for an
 * equivalence, with cs_Le for an implication.
 * ------------------------------------------------------------------------------------------------------------------ */

CS_API CSint* cs_ReifLt(CSint* x, CSint* y); /* x < y; with x in 0..3 and y in 3..5 still open */
CS_API CSint* cs_ReifLe(CSint* x, CSint* y); /* x <= y; with x in 0..3 and y in 3..5 a constant 1 */
CS_API CSint* cs_ReifGt(CSint* x, CSint* y); /* x > y */
CS_API CSint* cs_ReifGe(CSint* x, CSint* y); /* x >= y */
CS_API CSint* cs_ReifLT(CSint* x, int c);    /* x < c */
CS_API CSint* cs_ReifLE(CSint* x, int c);    /* x <= c */
CS_API CSint* cs_ReifGT(CSint* x, int c);    /* x > c */
CS_API CSint* cs_ReifGE(CSint* x, int c);    /* x >= c */

/* ---------------------------------------------------------------------------------------------------------------------
 * Reified equality
 *
 * As the reified comparisons, for equality. Here whole domains are looked at, holes included, and this is domain
 * consistent too. Null when out of memory.
 *
 * Cost: without holes in x or y a few comparisons for each of their events. With holes in either, each event of the two
 * variables walks over the overlap of their domains, 64 values at a time: while the boolean is open up to the first
 * common value, and while it stands for equality from end to end. Against a constant an event costs a few comparisons
 * at most. As a removal does everywhere, the first inner hole of a variable makes its bit-set.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * x = y. Decided as soon as no value is common to both, or both are instantiated to one value. A boolean of 1 keeps the
 * two domains the same. With 0 nothing happens until one of them is instantiated: then the other loses that value. The
 * constant 1 where x and y are the same variable.
 */
CS_API CSint* cs_ReifEq(CSint* x, CSint* y);

CS_API CSint* cs_ReifNeq(CSint* x, CSint* y); /* x != y: the same with 0 and 1 exchanged */

/* x = c. Decided as soon as x has lost c or has become c; the constant 0 where c isn't in its domain at the call. */
CS_API CSint* cs_ReifEQ(CSint* x, int c);

CS_API CSint* cs_ReifNEQ(CSint* x, int c); /* x != c: the same with 0 and 1 exchanged */

/* ---------------------------------------------------------------------------------------------------------------------
 * Sum and difference
 *
 * They make a new variable for the result and return it; null when out of memory. A variable that is given twice counts
 * as two that happen to be equal: cs_Sub(x, x) with x in 1..5 has the result -4..4, which may stay free when x is
 * instantiated (it then fails for a value other than 0).
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * z = x + y and z = x - y, bounds consistent for two different variables. While one of the three is instantiated, the
 * other two share holes: a new result gets those of the free operand, and a value removed later goes from the other
 * variable too. Holes made before a variable was instantiated are left out: with x in {1, 3, 5} and y in 0..1 the sum
 * is 1..6, and 2..6 when y becomes 1.
 *
 * When the result's bounds fall together nothing is posted and nothing attached. Bounds saturate at the ends of the
 * 32-bit range and no error is raised: 2147483646..2147483647 plus 5 is the constant 2147483647, and x stays free. With
 * one exception: when the minimum of an addend rises (in cs_Sub these are y and the result), the maximum of the other
 * one is worked with a difference that wraps. Where max(z) - min(x) leaves the range solutions can be lost. And a hole
 * whose image is exactly -2147483648 or 2147483647 is taken out of a new result that has its saturated bound there:
 * keep the bounds within half the range.
 *
 * Cost: constant for a bound; the width of the domain for the holes of a new result.
 */
CS_API CSint* cs_Add(CSint* x, CSint* y);
CS_API CSint* cs_Sub(CSint* x, CSint* y);

/*
 * The sum of the n variables, and the first variable less the sum of the n - 1 others; n is at least 1. They are a sum
 * as by cs_Sigma, and a difference as by cs_Sub of the first variable and such a sum; the constraint keeps copies.
 * cs_VAdd(1, x) is x itself; cs_VSub(1, x) is a new variable equal to x. The profiler shows cs_VAdd as "cs_Vadd".
 */
CS_API CSint* cs_VAdd(int n, CSint* first, ...);
CS_API CSint* cs_VSub(int n, CSint* first, ...);

/* ---------------------------------------------------------------------------------------------------------------------
 * Linear sums
 *
 * They make a new variable z for the result and return it; null when out of memory. A relation on a sum is a bound of
 * z:
 *     cs_LE(cs_ScalProd(items, weights, n), capacity);
 *
 * Bounds consistent, with exact rounding for coefficients; holes are not looked at. For a variable that stands twice
 * each place counts by itself. Posting narrows no operand. Each event costs one pass over the operands to add up their
 * bounds, and one more where z is tighter than they are; so a very long sum is better cut into a sum of sums. On bounds
 * propagation for linear relations see W. Harvey and J. Schimpf, "Bounds consistency techniques for long linear
 * constraints", 2002.
 *
 * Sums are worked in 64 bits. The lower bound of z saturates at -2147483648 and the upper one at 2147483647, and the
 * operands are narrowed correctly then too. Where even the smallest sum lies above the range, or the largest one below
 * it, there is no solution; but posting succeeds, with a meaningless bound of z (the low 32 bits of the sum), and only
 * a later change that has to do with that side fails: two constants 2000000000 give z in -294967296..2147483647.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * z = x0 + ... + x(n-1). The array is kept by reference and must stay as it is, and alive, as long as the constraint
 * lives. With n < 1 a new constant 0; with n = 1 the variable itself; in both cases nothing is posted.
 */
CS_API CSint* cs_Sigma(CSint** variables, int n);

/*
 * z = c0 x0 + ... + c(n-1) x(n-1). Coefficients may be of any sign, or zero: that operand is never narrowed. Both
 * arrays are kept by reference and must stay as they are, and alive, as long as the constraint lives. With n < 1 a
 * constant 0.
 *
 * Null with CS_ERR_OVERFLOW when the sum of the smallest or of the largest terms leaves 64 bits on the way.
 */
CS_API CSint* cs_ScalProd(CSint** variables, const int* coefficients, int n);

/*
 * The same with n variables as arguments and n int coefficients after them; with n < 1 a constant 0. The constraint
 * keeps copies. cs_VScalProd(2, x, y, 3, -1) is 3x - y.
 */
CS_API CSint* cs_VScalProd(int n, CSint* first, ...);

/* ---------------------------------------------------------------------------------------------------------------------
 * Product and quotient
 *
 * Each creates a new variable and returns it, or null when there is no solution or memory ran out. Strength: bounds,
 * and less than bounds consistency where a factor's bounds touch or straddle zero, as such a factor can't be divided
 * by; 0 is cut from the bound of a factor when the product excludes it; holes are ignored. Products and quotients of
 * bounds saturate at the ends of the 32-bit range, silently: two constants of 100,000 have the product 2147483647.
 * ------------------------------------------------------------------------------------------------------------------ */

/* z = x * y. There is no rule for squares: cs_Mul(x, x) of -3..3 is -9..9. */
CS_API CSint* cs_Mul(CSint* x, CSint* y);

/*
 * q with x = q * y: exact division, pairs with a remainder are no solutions. Null when the bounds allow no exact
 * quotient, as for 7 by 2. x and y aren't narrowed before one of the three changes. When y's bounds touch or straddle
 * zero, q starts with the whole 32-bit range, whose count of values wraps to 0.
 */
CS_API CSint* cs_Div(CSint* x, CSint* y);

/*
 * The product of n variables, and the first divided by each further one: folded from the left, one constraint for each
 * step. With n < 2 the result is `first` itself. Intermediate variables are created and stay.
 */
CS_API CSint* cs_VMul(int n, CSint* first, ...);
CS_API CSint* cs_VDiv(int n, CSint* first, ...);

/* ---------------------------------------------------------------------------------------------------------------------
 * Minimum and maximum
 *
 * Each creates a new variable and returns it, or null when memory ran out. Bounds, and a test when the result is
 * instantiated: one of the variables must still have its value. That variable isn't fixed to it when no other has it,
 * and holes are ignored. Cost: constant for most changes of a variable; linear in n when the one that moved may have
 * held the result's bound, and for changes of the result.
 *
 * Known weakness: that test of the variable that moved can miss when two steps of its bound meet in one flush, and a
 * wrong assignment can then stand. It takes a variable that reaches the constraint on two ways: with x in {0, 1, 3}, m
 * = max(x, -1) and z = min(x, m), cs_EQ(z, 2) succeeds with x = m = 3. Check solutions of such models.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * The smallest and the largest of the n variables; with n < 1 the constants 2147483647 and -2147483648. The array is
 * kept by reference and must stay as it is, and alive, as long as the constraint lives.
 */
CS_API CSint* cs_Min(CSint** variables, int n);
CS_API CSint* cs_Max(CSint** variables, int n);

/* The same with n variables as arguments, at least one. The constraint keeps a copy. */
CS_API CSint* cs_VMin(int n, CSint* first, ...);
CS_API CSint* cs_VMax(int n, CSint* first, ...);

/* ---------------------------------------------------------------------------------------------------------------------
 * Absolute value
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * A new variable z = |x|, or null when there is none or memory ran out. Domain consistent when posted: z gets exactly
 * the absolute values of x, with a bit-set when x has one. Afterwards removed values cross in both directions, and a
 * raised minimum of z takes the values around zero from x; but the minimum of z isn't raised by holes around zero that
 * come later. -2147483648 has no absolute value and leaves x. A set that lists it beside other values gives z the upper
 * bound 2147483647, a value that isn't in z's set: cut such a value first.
 */
CS_API CSint* cs_Abs(CSint* x);

/* ---------------------------------------------------------------------------------------------------------------------
 * Element: an array at a variable position
 *
 * Each creates a new variable and returns it, or null when there is no solution or memory ran out. Arrays are kept by
 * reference and must stay as they are, and alive, as long as the constraint lives.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * z = table[index]. The index is cut to 0..n-1, and z has exactly the values that can be reached. Domain consistent,
 * but for a removal that a bound overtakes: where one propagation removes an inner value of the index and then moves a
 * bound of the index past it, its entry may stay in z until z or the index is instantiated. Null with n = 0, and when
 * the index has no position in the table; a negative n fails after raising the index's minimum to 0. The values of the
 * table must lie within a span of 2147483647. Cost: logarithmic in n for a value, plus its positions; linear for what a
 * moved bound of z leaves out. Memory: 8 bytes for each entry.
 */
CS_API CSint* cs_Element(CSint* index, const int* table, int n);

/*
 * z = variables[index]. The index is cut to 0..n-1, and z has exactly the values that the variables at its positions
 * have; it is a plain interval when these leave no gap. Domain consistent, by a remembered support for each value of z
 * and for each position. Null with n = 0, and when the index has no position in the array; a negative n fails after
 * raising the index's minimum to 0. A variable may stand at several positions, and may be the index itself; each place
 * then counts by itself, which is less than domain consistent. A variable at a position that the index has lost is left
 * alone.
 *
 * Posting visits each value of each variable once. Afterwards an event costs a test for each value of z or each
 * position of the index, a search over the positions for each value that has lost its support, mostly one for a whole
 * run of them, and a walk over the common values for each position that has lost its own.
 * Memory: 4 bytes for each integer between the smallest and the largest value, and for each position; for variables
 * that are far apart take cs_VarElementRange.
 */
CS_API CSint* cs_VarElement(CSint* index, CSint** variables, int n);

/*
 * The same relation by bounds: z is an interval from the smallest to the largest value of the variables at the index's
 * positions. A position leaves the index when its variable's bounds don't meet those of z; holes are looked at only
 * where z or the variable is instantiated. Null as for cs_VarElement. Cost: constant for most events of the index and
 * of the array, a scan over the positions when one of the two that give z its bounds has moved or gone, and for each
 * event of z. Memory: constant, but for the attachments.
 */
CS_API CSint* cs_VarElementRange(CSint* index, CSint** variables, int n);

/*
 * A position at which variables[position] = value: its domain is the set of positions that can still have the value,
 * and when it is instantiated the variable there is set to the value. Several variables may have the value; a position
 * that isn't chosen says nothing of its variable. Domain consistent, from the first event on, but for a removal that a
 * bound overtakes: where one propagation removes the value from inside a variable and then moves a bound of that past
 * it, the position may stay until the index is instantiated, which then fails there. At posting a value that only one
 * variable has gives an instantiated position, and that variable isn't set by posting. Null with n < 1 and when no
 * variable has the value. In a profiler's report the constraint stands under the name "cs_Cumulative".
 */
CS_API CSint* cs_Index(CSint** variables, int n, int value);

/* ---------------------------------------------------------------------------------------------------------------------
 * Occurrences of a value
 *
 * count = number of i with variables[i] = value. The array is kept by reference and must stay as it is, and alive, as
 * long as the constraint lives. Each value of the array is looked at, holes too, so the count's bounds are exact: how
 * many variables have the value, and how many can. Of the count only its bounds are looked at, and they reach the array
 * in two cases: when the count is instantiated, and when a variable takes or loses the value and a bound of the count
 * is thereby met: then all undecided variables lose the value, or all take it. So a count that is fixed before posting,
 * or a bound that merely moves, reaches the array no sooner than the next such change; a solution is never missed and
 * none is wrong. Cost: constant for a change of a variable, linear in n where the undecided ones are decided. Where
 * nothing is undecided at posting, the count is set and nothing is attached; with n < 1 it is 0.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Posts that. The result is always 0 and says nothing: not even where the count can't be that number. */
CS_API int cs_Occur(CSint* count, int value, CSint** variables, int n);

/* The same, and it tells: 1, or 0 when the count can't be that number or memory ran out. */
CS_API int cs_OccurConstraints(CSint* count, int value, CSint** variables, int n);

/*
 * The count as a new variable, from the number of variables that have the value to the number of those that can; or
 * null when memory ran out.
 */
CS_API CSint* cs_OccurDomain(int value, CSint** variables, int n);

/* ---------------------------------------------------------------------------------------------------------------------
 * Cumulative and disjunctive: tasks on a resource
 *
 * Task i runs from startTimes[i] for durations[i] time units, the end excluded; with a duration of 0 it doesn't run. 1,
 * or 0 on failure or when out of memory. The arrays are kept by reference and must stay as they are, and alive, as long
 * as the constraint lives. With n < 1 the result is 1 and nothing is posted. Starts may be negative; durations should
 * not be: a task that must end before it can start fails.
 *
 * Strength: the limits; the time table, made of the parts of tasks that run wherever they start; and the energy that
 * must fall into the intervals from a task's earliest start to its latest end. There is no edge finding. Less than
 * bounds consistency, and holes in the domains are ignored. Starts and durations, requirements and the limit are all
 * narrowed; a task that can't be met is switched off by a duration of 0, which fails only where it must run.
 *
 * Known weakness: a wrong schedule is never accepted, but a right one may be lost. A new bound is carried on to where
 * another task ends or starts at present, though that task could slide and the bound would then fit. With durations 1,
 * 2, 1, 2 and starts in 4..6, 3..5, 2..4, 1 cs_Disjunctive is left with 4, 5, 3, 1, although 6, 4, 3, 1 fits too; with
 * durations 2, 2, 2, 4 and starts in 4..6, 6..8, 6..9, 1 it fails, although 5, 7, 9, 1 fits. Who must not lose a
 * schedule, as for a proof that there is none or that one is the best, models it by comparisons, which are exact. For
 * tasks that may not overlap, of each two tasks x and y one ends before the other starts:
 *     CSint* first = cs_ReifLe(cs_Add(startX, durationX), startY);
 *     CSint* second = cs_ReifLe(cs_Add(startY, durationY), startX);
 *     cs_GE(cs_Add(first, second), 1);
 * and for a resource, at the start of each task x the requirements of all tasks y (x is one of them) that run then add
 * up to at most the limit: y runs then if cs_Mul(cs_ReifLe(startY, startX), cs_ReifLt(startX, cs_Add(startY,
 * durationY))) is 1. Two tasks, or tasks of length 1, lose nothing that was ever seen.
 *
 * Cost: an event takes time of up to the cube of n, and less where few other tasks share its span. Memory: 60 bytes for
 * each task, and its three attachments.
 *
 * 32 bits: sums of times wrap, and so do the heights of stacked requirements; a start and a duration should add up
 * inside the range. Energies are worked in 64 bits, but the unavoidable one of a single task in an interval wraps at 32
 * (duration times requirement).
 *
 * Where a posting is accepted (cs_acceptContext) and the restore of an outer context then takes attachments of these
 * variables in place of its own, changes of a variable without one aren't looked at; and once all starts, all
 * durations, all requirements or the limit have lost theirs, the constraint is idle and any schedule passes.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * At each time the requirements of the tasks that run then add up to at most the limit. All four kinds of variables may
 * be constants (CSINT) or not. Requirements should not be negative: a negative minimum counts as it stands, against the
 * load of the others, and the rise of a requirement whose maximum is below 1 isn't looked at, so a wrong schedule could
 * be accepted. Requirements may be given twice, as may starts and durations; but a variable that is a requirement and
 * also the limit, or a requirement and also a start, can lead to a load above the limit that ends the process by abort.
 */
CS_API int cs_Cumulative(CSint** startTimes, CSint** durations, CSint** resources, int n, CSint* limit);

/*
 * No two tasks overlap: the same with requirements and limit 1. Two that must run at one time fail at posting. A task
 * of no duration may lie inside another.
 */
CS_API int cs_Disjunctive(CSint** startTimes, CSint** durations, int n);

/* ---------------------------------------------------------------------------------------------------------------------
 * Words of an automaton
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * variables[0] ... variables[n - 1] spell a word that a deterministic finite automaton accepts. States are 0..nbStates
 * - 1 and symbols 0..nbSymbols - 1. transitions[state * nbSymbols + symbol] is the next state; an entry that is no
 * state, such as -1, means that there is none. The word starts in `initial`, which must be a state and isn't checked,
 * and ends in one of `finals`; those out of range are ignored.
 *
 * 1, or 0 when there is no such word or memory ran out. With n < 1 it is 1, whatever else is passed; without a final
 * state in range 0, and nothing is touched. The variables are cut to the symbols, and stay so even where posting then
 * fails; the constraint stays attached only when a word exists for the domains as they were cut.
 *
 * The array of variables is kept by reference and must stay as it is, and alive, as long as the constraint lives; the
 * tables may be freed at once. Domain consistent, as long as no variable stands at two positions (each position then
 * counts by itself, and only solutions are accepted). The automaton is unrolled over n steps: posting looks at each
 * value of a variable from each state before it. Memory: at each step some 16 bytes for each edge between states that
 * lie on a word, 8 for each such state and each value, an edge or not, and 50 for each state and each symbol. An event
 * takes one test for each state beside it and, where states have changed, each value of the neighbouring variables; it
 * searches only where it hit a watched edge. See G. Pesant, "A regular language membership constraint for finite
 * sequences of variables", 2004.
 *
 * Words over two symbols without three 1s in a row, the state being the number of 1s that were just read:
 *     static const int next[3 * 2] = {0, 1, 0, 2, 0, -1};
 *     static const int finals[3] = {0, 1, 2};
 *     cs_Regular(x, n, next, 3, 2, 0, finals, 3);
 */
CS_API int cs_Regular(CSint** variables, int n, const int* transitions, int nbStates, int nbSymbols, int initial,
    const int* finals, int nbFinals);

/* ---------------------------------------------------------------------------------------------------------------------
 * Event watchers
 *
 * They hang a function of the client's on the variables of an array, as a constraint in all but name: propagation calls
 * it, and it can fail the branch. The result of such a function is a boolean of which only the low 8 bits are read: 0
 * fails the branch, and 256 does too.
 *
 * The array is kept by reference and must stay as it is, and alive, as long as the watcher lives, which is until the
 * context in which it was posted is restored. It can't end itself. `extra` is passed through.
 *
 * A function is called in the middle of propagation: other constraints may not have seen the same change yet. It may
 * read anything and narrow variables, which is queued then: results tell of immediate failures only. It may post
 * constraints, save contexts and run a search, and must leave the contexts that it found as they were. It may be called
 * twice for what looks like one change. While a profiler is enabled, the unary constraints that it calls have rows of
 * their own in the report, under the locator's text for the call.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Called when all variables are instantiated. */
typedef int (*CSeventAllKnown)(CSint** array, int size, void* extra);

/* Called with the value of array[index]. */
typedef int (*CSeventKnown)(int value, int index, CSint** array, int size, void* extra);

/* Called for variable = array[index]. `oldValue` is the bound last told to constraints, or the value removed. */
typedef int (*CSeventChange)(CSint* variable, int index, int oldValue, CSint** array, int size, void* extra);

/*
 * Watches for the moment at which all variables are instantiated. When that is so already, and with size < 1, calls at
 * once, leaves no watcher behind and returns the answer. Else 1, or 0 when out of memory. When the last two variables
 * become instantiated before the watcher is told of either, it calls twice.
 */
CS_API int cs_eventAllKnown(CSint** array, int size, CSeventAllKnown callback, void* extra);

/*
 * Calls for each variable that becomes instantiated; for those that are so already, during the posting, in the order
 * of the array. An answer of 0 ends the posting there with 0, with the watcher attached. Else 1, or 0 when out of
 * memory. With size < 1 it does nothing.
 */
CS_API int cs_eventKnown(CSint** array, int size, CSeventKnown callback, void* extra);

/*
 * They call when a minimum rises, a maximum falls, a value strictly between the bounds is removed; not during the
 * posting, and with size < 1 not at all. A variable fixed to a value strictly between its bounds is no new bound, and a
 * removal at a bound is no hole: cs_eventNewMin hears of cs_GE(v, 5), but of cs_EQ(v, 5) on 0..9 it doesn't. In a
 * report cs_eventNeq stands under the name "cs_eventNewMax".
 */
CS_API void cs_eventNewMin(CSint** array, int size, CSeventChange callback, void* extra);
CS_API void cs_eventNewMax(CSint** array, int size, CSeventChange callback, void* extra);
CS_API void cs_eventNeq(CSint** array, int size, CSeventChange callback, void* extra);

/* A decision on a variable, or a change that is told as one: a method and its value, as at most 4. */
typedef struct ValueSelection
{
  int32_t method; /* one of the following */
  int32_t value;
} ValueSelection;

#define CS_SELECT_EQ 0  /* the variable equals the value */
#define CS_SELECT_NEQ 1 /* differs from it */
#define CS_SELECT_LE 2  /* is at most the value */
#define CS_SELECT_LT 3  /* is below it */
#define CS_SELECT_GE 4  /* is at least the value */
#define CS_SELECT_GT 5  /* is above it */

/*
 * Called when propagation has failed. `variable` and `failing` are those of the change at which it failed: at least,
 * at most, equal or different. `index` is that of the list of attachments in which the watcher was found, and need not
 * be the variable's. The record of `failing` lives only during the call.
 */
typedef void (*CSeventConflict)(
    CSint* variable, int index, const ValueSelection* failing, CSint** array, int size, void* extra);

/*
 * Watches for failures; it can't prevent them. It calls only where the propagation that failed had come across it
 * before the failing constraint: newer attachments of a variable come first, so post it after the constraints that it
 * is to tell of. With size < 1 it does nothing.
 */
CS_API void cs_eventConflict(CSint** array, int size, CSeventConflict callback, void* extra);

/* ---------------------------------------------------------------------------------------------------------------------
 * Conditionals
 *
 * Ties between one value of x and one value of y. 1, or 0 on failure or when out of memory. They look at instantiation
 * alone: that x loses xValue without being instantiated wakes nothing. A handler call, one for each instantiation of x
 * or y, takes a few comparisons. The values may be any 32-bit integers, in the domains or not.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * x = xValue if and only if y = yValue. Once one of the two has taken its value the other is set to its own, which
 * fails where that isn't in its domain. Weaker than the equivalence: when x can't take xValue any more, y keeps yValue
 * until it is instantiated to it, and that fails. For more, use cs_Eq(cs_ReifEQ(x, xValue), cs_ReifEQ(y, yValue)). With
 * one variable as both x and y only x = xValue is looked at after the posting, and not y = yValue.
 */
CS_API int cs_IfEq(CSint* x, CSint* y, int xValue, int yValue);

/*
 * Not both x = xValue and y = yValue. Once one of the two has taken its value, the other loses its own; where it is the
 * last one left, that fails. Domain consistent, where x and y are two variables.
 */
CS_API int cs_IfNeq(CSint* x, CSint* y, int xValue, int yValue);

/* ---------------------------------------------------------------------------------------------------------------------
 * Search
 *
 * A driver asks a variable selector for a free variable, tries its values in ascending order, each in a context of its
 * own, and recurses; when the selector finds no free variable that is a solution. What is left:
 *
 *     solution found         1   one context for each decision stays saved, the values are readable
 *     exhausted              0   contexts and domains as on entry
 *     fail limit reached     0   contexts stay saved, domains as at that failure
 *     cancelled              0   contexts stay saved, unbalanced; the domains are a mixture
 *
 * What differs with cs_minimize, cs_findAll and restarts is said there. So save a context before and restore it
 * afterwards, whatever came out:
 *     int label = cs_saveContext();
 *     if (cs_search(vars, n, cs_findFreeVar)) use(vars);
 *     cs_restoreContextUntil(label);
 *
 * The depth of the recursion is the number of decisions on a branch, one of them for each variable that isn't fixed by
 * propagation; each takes less than 200 bytes of stack, in an optimised build. The drivers allocate nothing, but for
 * the array of cs_Vsearch and, in the drivers by rating, one bit-set for each level.
 * One search runs at a time; one entered from a callback clears the counters and the cancel flag of the outer one.
 *
 * A callback may read anything and call cs_cancelSearch. The domains that it sees are those of the branch; what it
 * narrows itself is undone with the context that is open at that moment.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Selects the next variable to instantiate out of the `n` variables that the driver was given, or returns null when all
 * of them are instantiated: that is a solution. Called once at every level before anything else. Returning an
 * instantiated variable costs a level and makes no progress.
 */
typedef CSint* (*CSfindFreeVar)(CSint** variables, int n);

/* Called at each solution of cs_findAll, which undoes the solution afterwards. It may call cs_cancelSearch. */
typedef void (*CSfound)(CSint** variables, int n);

/* Finds the first solution: 1, or 0. */
CS_API int cs_search(CSint** variables, int n, CSfindFreeVar findFreeVar);

/* The same, and gives up when `fails` values have failed; with fails < 1 without limit. */
CS_API int cs_searchFail(CSint** variables, int n, CSfindFreeVar findFreeVar, int fails);

/*
 * As cs_search, with the n variables as arguments and the selector after them. With n below 1 one variable is read all
 * the same, and the selectors of the library, which are given n as it is, see no free one: the result is 1. The array
 * that the selector is given lives only during the call. 0 also when out of memory.
 */
CS_API int cs_Vsearch(int n, CSint* first, ...);

/* Visits all solutions, in the order in which repeated search would find them. 1 if there was at least one. */
CS_API int cs_findAll(CSint** variables, int n, CSfindFreeVar findFreeVar, CSfound found);

/*
 * Makes the running driver return 0 at its next choice point. May be called from callbacks and from a signal handler.
 * A driver clears the request on entry.
 */
CS_API void cs_cancelSearch(void);

/* Values that failed, and values tried, since the last driver was entered. 32-bit counters that wrap. */
CS_API int cs_getNbFails(void);
CS_API int cs_getNbChoicePoints(void);

/* Writes both counters and the capacity of the trail, in records. */
CS_API void cs_printStats(void);
CS_API void cs_fprintStats(FILE* stream);

/*
 * The selectors. All return null when n < 1 or no variable is free, and take the first of equal candidates. Those that
 * count rely on the count: a variable of 2147483647 values is never taken for the fewest, and one whose count has
 * wrapped, as that of a range of 2^31 values and more, isn't seen as free.
 */
CS_API CSint* cs_findFreeVar(CSint** variables, int n);              /* the first free variable */
CS_API CSint* cs_findFreeVarNbElements(CSint** variables, int n);    /* the fewest values */
CS_API CSint* cs_findFreeVarNbElementsMin(CSint** variables, int n); /* the fewest values, then the smallest minimum */
CS_API CSint* cs_findFreeVarNbConstraints(CSint** variables, int n); /* the most constraints ever attached */

/* ---------------------------------------------------------------------------------------------------------------------
 * Optimising search
 * ------------------------------------------------------------------------------------------------------------------ */

/* Called at each solution of cs_minimize, which undoes it right afterwards: copy what is wanted. */
typedef void (*CSfoundCost)(CSint** variables, int n, CSint* cost);

/*
 * Branch and bound: searches as cs_search does, calls `found`, undoes the solution, demands cost < m, where m is the
 * minimum of the cost at that solution, and searches again from the root, until nothing is left. The last solution that
 * `found` saw is the cheapest one. 1 if there was a solution.
 *
 * The cost needn't be among the variables, nor be instantiated at a solution: its minimum counts, so unless propagation
 * keeps that attainable, put the cost among the variables. At the end the variables are as on entry, and the limits on
 * the cost stay in force: they belong to the context that was open before the call. With no solution at all one context
 * stays saved; after a cancel the search stands as above. The counters run over all the searches.
 */
CS_API int cs_minimize(CSint** variables, int n, CSfindFreeVar findFreeVar, CSint* cost, CSfoundCost found);

/* ---------------------------------------------------------------------------------------------------------------------
 * Search by rating
 *
 * A level tries the values of its variable by the client's rating, the lowest first, and of equal ratings the lower
 * value. All values left are rated anew before each try, on the domains of the level's entry: a level of k values asks
 * up to k (k + 1) / 2 times. A value rated 2147483647 is never tried; where nothing else is left, each of the remaining
 * turns counts one choice point and one failure. What the drivers leave behind is as with cs_search, and a value that
 * failed counts towards `fails` in the same way. When memory runs out, the level counts as one without values.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Selects the position in the array of the next variable to instantiate; a negative number when none is free: that is a
 * solution. Called once at every level before anything else.
 */
typedef int (*CSfindFreeVarIndex)(CSint** variables, int n);

/* Rates the value for the variable at a position: the lower, the earlier. Called before the choice point is counted. */
typedef int (*CScriteria)(int position, int value);

/* Finds the first solution: 1, or 0. */
CS_API int cs_searchCriteria(CSint** variables, int n, CSfindFreeVarIndex findFreeVarIndex, CScriteria criteria);

/* The same, and gives up when `fails` values have failed; with fails < 1 without limit. */
CS_API int cs_searchCriteriaFail(
    CSint** variables, int n, CSfindFreeVarIndex findFreeVarIndex, CScriteria criteria, int fails);

/*
 * Selects the next row of the matrix to take a variable from, or a negative number when none has a free one: that is a
 * solution. Called at the start, after each value that was assigned, on the domains that it left, and whenever the
 * row has no free column. Naming such a row again and again never ends.
 */
typedef int (*CSfindFreeRow)(CSint*** matrix, int rows, int cols);

/* Selects the position in the row of the next variable to instantiate, or a negative number when none is free there. */
typedef int (*CSfindFreeColumn)(int row, CSint** variables, int cols);

/* Rates the value for the variable at a row and a column: the lower, the earlier. */
typedef int (*CSmatrixCriteria)(int row, int column, int value);

/* As cs_searchCriteria, over `rows` pointers to rows of `cols` variables each. Only the selectors look at the counts.
 */
CS_API int cs_searchMatrix(CSint*** matrix, int rows, int cols, CSfindFreeRow findFreeRow,
    CSfindFreeColumn findFreeColumn, CSmatrixCriteria criteria);

/* The same, and gives up when `fails` values have failed; with fails < 1 without limit. */
CS_API int cs_searchMatrixFail(CSint*** matrix, int rows, int cols, CSfindFreeRow findFreeRow,
    CSfindFreeColumn findFreeColumn, CSmatrixCriteria criteria, int fails);

/* ---------------------------------------------------------------------------------------------------------------------
 * Value selectors
 *
 * A value selector says how a variable is branched on: it yields decisions, one at a time, and a driver makes one after
 * the other. The decisions of a level should leave no value of the variable out, or solutions are missed.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Makes the decision (see ValueSelection) by cs_EQ, cs_NEQ, cs_LE, cs_LT, cs_GE or cs_GT: 1, or 0. Another method ends
 * the process. */
CS_API int cs_selectValue(CSint* variable, const ValueSelection* selection);

/*
 * The callbacks of a selector; all answer yes or no. The state is a slot for an integer or a pointer that the driver
 * keeps for each level. It isn't cleared: until `init` has written it, it holds anything. The variable is
 * variables[position].
 *
 * init   called once before the first decision; with a no the driver gives the level up, without a failure
 * next   fills in the next decision; no when there are no more. It must look at the domain as it is: the drivers call
 *        it on the domains of the level's entry, for the decision after the one that they are about to make
 * end    called once behind the last decision, and after a solution; what a no does there, the drivers say
 */
typedef int (*ValueSelectorInit)(int position, CSint** variables, int n, intptr_t* state);
typedef int (*ValueSelectorNext)(ValueSelection* selection, int position, CSint** variables, int n, intptr_t* state);
typedef int (*ValueSelectorEnd)(int position, CSint** variables, int n, intptr_t* state);

typedef struct ValueSelector ValueSelector;

#define CS_MIN_TO_MAX 0      /* each value, ascending */
#define CS_MAX_TO_MIN 1      /* each value, descending */
#define CS_LOWER_AND_UPPER 2 /* at most the middle of the bounds, then above it */
#define CS_UPPER_AND_LOWER 3 /* at least the middle of the bounds, of two adjacent values the upper; then below it */
#define CS_MEDIAN_AND_REST 4 /* the median, of an even number of values the lower one; then different from it */

/* A selector of the library; null for another kind. It lives for ever and must not be freed. */
CS_API ValueSelector* cs_getValueSelector(int kind);

/* A new selector; `init` and `end` may be null, which is a yes. Null when out of memory. Free it after the search. */
CS_API ValueSelector* cs_createValueSelector(ValueSelectorInit init, ValueSelectorNext next, ValueSelectorEnd end);

CS_API void cs_freeValueSelector(ValueSelector* selector); /* null is ignored */

/* The calls of the callbacks, for a driver of one's own. 1 or 0. */
CS_API int cs_initValueSelector(ValueSelector* selector, int position, CSint** variables, int n, intptr_t* state);
CS_API int cs_selectNextValue(
    ValueSelection* selection, ValueSelector* selector, int position, CSint** variables, int n, intptr_t* state);
CS_API int cs_endValueSelector(ValueSelector* selector, int position, CSint** variables, int n, intptr_t* state);

/* ---------------------------------------------------------------------------------------------------------------------
 * No-goods
 *
 * A no-good is a list of decisions that must not all hold. A set of them is one constraint on an array of variables:
 * when all decisions of a no-good but one hold, that one is forbidden, and when all hold, that is a failure. Each
 * no-good watches two of its decisions, so an event costs one step for each no-good that watches the variable. What is
 * added acts from the next event of a watched variable on: nothing is narrowed by adding.
 *
 * Known weakness: where a no-good has two decisions on the same variable, an event of that variable may pass over older
 * no-goods, so that a combination which they forbid can go through. What searches learn only repeats what other
 * constraints say, so nothing is lost there; for constraints of your own use decisions on different variables.
 *
 * The sets lie outside the contexts: what was added stays when a context is restored. A set itself goes with the
 * context in which it was made.
 * ------------------------------------------------------------------------------------------------------------------ */

typedef struct NoGoodSet NoGoodSet;
typedef struct NoGood NoGood;

/* Decides whether a no-good is kept: no drops it. It must add and drop none itself, and leave domains as they were. */
typedef int (*NoGoodFilter)(NoGoodSet* set, NoGood* noGood, CSint** variables, int n, void* data);

/* Called when the set ends, while its no-goods are still there. */
typedef void (*NoGoodDestructor)(NoGoodSet* set, void* data);

/*
 * A new set without no-goods on the array, which is kept by reference. It holds up to `max` no-goods (0: any number;
 * not negative): when it is full, the one goes that was added or caused a failure longest ago. `filter`, which is asked
 * for each new no-good, and `destructor` may be null. Null with n < 1 and when out of memory, and then `destructor` is
 * never called.
 */
CS_API NoGoodSet* cs_createNoGoodSet(
    CSint** variables, int n, NoGoodFilter filter, int max, NoGoodDestructor destructor, void* data);

/*
 * Adds the no-good of `count` decisions, at least one, each on the variable at its position; copies both arrays. It is
 * not kept where the filter drops it or a no-good of the set is the beginning of it; those that it is the beginning of
 * go. A position must be in 0..count - 1, whatever the number of variables; another ends the process.
 */
CS_API void cs_addNoGood(NoGoodSet* set, const int* positions, const ValueSelection* decisions, int count);

CS_API int cs_getNbNoGoods(const NoGoodSet* set);

/* Sets the maximum, and drops those of longest ago that are too many. 0 lifts it; a negative one is ignored. */
CS_API void cs_setMaxNbNoGoods(NoGoodSet* set, int max);

/* The decisions of a no-good, for filters. For an `i` outside 0..count - 1 the position is -1 and no more is written.
 */
CS_API int cs_getNbNoGoodElements(const NoGood* noGood);
CS_API void cs_getNoGoodElementAt(int* position, ValueSelection* decision, const NoGood* noGood, int i);

/* Drops the no-goods for which `filter` answers no; asked oldest first. */
CS_API void cs_filterNoGood(NoGoodSet* set, NoGoodFilter filter);

/* ---------------------------------------------------------------------------------------------------------------------
 * Selector search
 *
 * Depth-first search through one value selector for each position of the array (the same one may stand at several). A
 * level asks for its variable, then for two decisions; makes the first, in a context of its own, and searches below;
 * when that failed restores the context and goes on with the second, after it has asked for the third. At a solution
 * and at the limit all contexts of the branch stay saved, one for each decision; when exhausted, none; a cancel leaves
 * contexts unbalanced, as with cs_search.
 *
 * Where a selector's `end` answers no after a solution, that is a failure for the level above, though it counts as
 * none and the level's context stays saved. Where it answers no behind the last decision, or at the limit, the driver
 * tells no leaving of the level and learns nothing from it.
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * What a client is told of a search, in the order in which it happens. Each callback may be null; the last argument
 * of each is the pointer given to cs_createSearchNotify. The level is 0 at the first decision of a branch. The decision
 * is valid during the call only.
 *
 * searchStart            before a search or a run of restarts, with the limit of failures as it will be tested
 * enter                  a variable was chosen
 * beforeValueSelection   the decision's context is saved and the choice point counted; it will now be made, unless the
 *                        search has been cancelled
 * afterValueSelection    the decision was made, with success 1 or 0; a failure is counted already. The limit is tested
 *                        afterwards
 * leave                  the decisions of the level have run out; not called at a solution, at the limit, on a cancel
 * found                  a solution; yes accepts it, no rejects it and counts as a failure. Without this callback the
 *                        first one is accepted. The level is that of the last decision: -1 if none was needed
 * searchEnd              after a search or a run, with result 1 or 0, and its failures: all that cs_getNbFails tells,
 *                        or the run's own with restarts
 */
typedef void (*CSsearchStart)(int fails, CSint** variables, int n, void* data);
typedef void (*CSsearchLevel)(int level, int position, CSint** variables, int n, void* data);
typedef void (*CSbeforeValueSelection)(
    int level, int position, const ValueSelection* selection, CSint** variables, int n, void* data);
typedef void (*CSafterValueSelection)(
    int success, int level, int position, const ValueSelection* selection, CSint** variables, int n, void* data);
typedef int (*CSsearchFound)(int level, CSint** variables, int n, void* data);
typedef void (*CSsearchEnd)(int result, int nbFails, int fails, CSint** variables, int n, void* data);

typedef struct SearchNotify SearchNotify;

/* A record without callbacks, or null when out of memory. The drivers read it anew at each step; free it afterwards. */
CS_API SearchNotify* cs_createSearchNotify(void* data);
CS_API void cs_freeSearchNotify(SearchNotify* notify); /* null is ignored */

CS_API void cs_searchNotifySetSearchStart(SearchNotify* notify, CSsearchStart callback);
CS_API void cs_searchNotifySetSearchEnd(SearchNotify* notify, CSsearchEnd callback);
CS_API void cs_searchNotifySetBeforeValueSelection(SearchNotify* notify, CSbeforeValueSelection callback);
CS_API void cs_searchNotifySetAfterValueSelection(SearchNotify* notify, CSafterValueSelection callback);
CS_API void cs_searchNotifySetEnter(SearchNotify* notify, CSsearchLevel callback);
CS_API void cs_searchNotifySetLeave(SearchNotify* notify, CSsearchLevel callback);
CS_API void cs_searchNotifySetFound(SearchNotify* notify, CSsearchFound callback);

/* Finds the first solution: 1, or 0. Gives up at `fails` failures; with fails < 1 there is no limit. */
CS_API int cs_searchValueSelectorFail(CSint** variables, ValueSelector** selectors, int n,
    CSfindFreeVarIndex findFreeVarIndex, int fails, SearchNotify* notify);

/*
 * The limit of failures of the next run, above 0: with 0 or less the run has no limit, and a search that is exhausted
 * is begun again. This callback is the whole schedule; the library lets no limit grow by itself. Called before the
 * first run and between runs, at the root.
 */
typedef int (*CSrestartFails)(void* data);

/*
 * Searches in runs from the root, each with its own limit, until a run finds a solution (1), ends below its limit,
 * exhausted or cancelled (0), or all runs together have `maxFails` failures (0; with maxFails < 1 there is no such
 * limit, and else each run's limit is clipped to what is left). At the limit of a run the decisions of its branch go
 * into `noGoods` as forbidden combinations, if that isn't null, and the set is reduced before the next run. It must
 * have been made on the same variables in the same order. A selector must then not leave values out, or what is learnt
 * is wrong.
 *
 * After a solution and at `maxFails` the contexts stay saved, one for each decision of the branch and in the first run
 * one more below them; otherwise contexts and domains are as on entry, after a cancel too. The counters run over all
 * the runs. A run whose last possible failure is just the one that reaches its limit can't be told from one that was
 * cut short: another run follows. So a constant limit without no-goods never ends where a run takes more failures.
 */
CS_API int cs_searchValueSelectorRestartNG(CSint** variables, ValueSelector** selectors, int n,
    CSfindFreeVarIndex findFreeVarIndex, CSrestartFails restartFails, void* restartData, int maxFails,
    NoGoodSet* noGoods, SearchNotify* notify);

/* ---------------------------------------------------------------------------------------------------------------------
 * Attribution and profiling
 * ------------------------------------------------------------------------------------------------------------------ */

/* Says in whose name a constraint is posted: a text, copied at once, or null for none. */
typedef const char* (*CSlocator)(void* extra);

/*
 * Each posting asks a locator for a text, which the profiler shows beside the constraint. The default locator captures
 * the stack and names the caller of the entry point; that costs some microseconds for each posting, so a client that
 * posts very many constraints should install a cheap locator of its own. `format` (not null) is copied and says in
 * the report how the text is to be read. A null locator puts the default back; the other arguments are then ignored.
 */
CS_API void cs_setProfilerLocator(const char* format, CSlocator locator, void* extra);

/*
 * A profiler counts, for each constraint posted (by entry point and locator text), the calls of its handlers and how
 * many of these failed, while it is enabled. Several may exist and be enabled at once.
 */
typedef struct Profiler Profiler;

#define CS_PROFILER_CONSTRAINTS 0 /* the one kind of profiler */

/* A new profiler, disabled. Null for an unknown kind and when out of memory. It lives until cs_end. */
CS_API Profiler* cs_createProfiler(int kind);

/* Switches counting on and off. Each does nothing when it is already so. */
CS_API void cs_enableProfiler(Profiler* profiler);
CS_API void cs_disableProfiler(Profiler* profiler);

/*
 * Takes the profiler out of the solver's lists, so that it counts no more. Disable it first: the deletion of an enabled
 * one leaves profiling switched on, and it must not be enabled again. The record stays readable and its memory stays
 * taken, also after cs_end.
 */
CS_API void cs_deleteProfiler(Profiler* profiler);

/*
 * Writes the report: a header of labelled lines, the line "__DATA__", then a row for each constraint that was counted:
 * locator text, entry point, calls, failures, with tabs between them, in no particular order.
 */
CS_API void cs_profilerWrite(Profiler* profiler, FILE* stream);

/* The same into a new file. Returns what fclose returned, and 0 also when the file can't be opened. */
CS_API int cs_profilerWriteFile(Profiler* profiler, const char* path);

#ifdef __cplusplus
}
#endif

#endif /* KU_H */
