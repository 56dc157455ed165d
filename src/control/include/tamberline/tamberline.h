/* The query control for hosts that are not Qt programs.
 *
 * Every function returns a status: 0 on success, otherwise a run-time error number
 * (424 object required, 6 overflow, 13 type mismatch, 438 no such member, 5 invalid call or
 * argument, ...). Results come back in the last, out-parameter, which a failed call leaves
 * untouched. Strings are UTF-8 (text that is not valid UTF-8 is refused with 5 and nothing is
 * stored); strings returned by the library are freed with tamberline_free_string. Booleans are
 * int16_t with True = -1; any non-zero Boolean argument is True.
 *
 * Controls created on one thread share one query; a control on another thread has its own.
 * Call a control only on the thread that created it (5 otherwise).
 *
 * Properties need no display and no Qt application object. The editors (EditProperties,
 * EditQueryItem, EditWizard, also through tamberline_invoke) open windows: they run only on
 * the thread that owns the Qt application object, or when the host has none, on the process's
 * main thread, where the first editor creates it. They fail with 5 on any other thread, and
 * when no window system can start (no reachable X server at DISPLAY, no Wayland socket, and
 * QT_QPA_PLATFORM not naming a platform that needs no display such as offscreen).
 *
 * EditQueryItem turns every failure inside it into the result False with status 0;
 * tamberline_last_error then says why. */
#ifndef TAMBERLINE_H
#define TAMBERLINE_H

#include <stdint.h>

#include <tamberline/tamberline_export.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TamberlineControl TamberlineControl;

#define TAMBERLINE_TRUE ((int16_t)-1)
#define TAMBERLINE_FALSE ((int16_t)0)

/* Dispatch identifiers, for tamberline_invoke. */
#define TAMBERLINE_DISPID_NODEOFFSET 0x68030000
#define TAMBERLINE_DISPID_ELEMATTRIBS 0x68030001
#define TAMBERLINE_DISPID_SEARCHTEXT 0x68030002
#define TAMBERLINE_DISPID_ALLOWNAV2 0x68030003
#define TAMBERLINE_DISPID_URL1 0x68030004
#define TAMBERLINE_DISPID_CLEARATTRIBS 0x60030005
#define TAMBERLINE_DISPID_EDITPROPERTIES 0x60030006
#define TAMBERLINE_DISPID_EDITQUERYITEM 0x60030007
#define TAMBERLINE_DISPID_EDITWIZARD 0x60030008

/* Invoke kinds; a read may pass METHOD | PROPERTYGET. */
#define TAMBERLINE_METHOD 1
#define TAMBERLINE_PROPERTYGET 2
#define TAMBERLINE_PROPERTYPUT 4

/* Value types of tamberline_invoke's arguments and result. */
#define TAMBERLINE_EMPTY 0
#define TAMBERLINE_BOOL 1  /* number: -1 or 0 in results; any non-zero number is True in arguments */
#define TAMBERLINE_INT16 2 /* number */
#define TAMBERLINE_INT32 3 /* number */
#define TAMBERLINE_TEXT 4  /* text, UTF-8 */

typedef struct TamberlineValue {
    int32_t type;
    int32_t number;
    char *text; /* only read in arguments; owned by the caller of a result (tamberline_value_clear) */
} TamberlineValue;

TAMBERLINE_EXPORT int tamberline_create(TamberlineControl **control);
TAMBERLINE_EXPORT int tamberline_release(TamberlineControl *control);

TAMBERLINE_EXPORT int tamberline_Url1_get(TamberlineControl *control, char **result);
TAMBERLINE_EXPORT int tamberline_Url1_put(TamberlineControl *control, const char *text);
TAMBERLINE_EXPORT int tamberline_AllowNav2_get(TamberlineControl *control, int16_t *result);
TAMBERLINE_EXPORT int tamberline_AllowNav2_put(TamberlineControl *control, int16_t value);
TAMBERLINE_EXPORT int tamberline_SearchText_get(TamberlineControl *control, char **result);
TAMBERLINE_EXPORT int tamberline_SearchText_put(TamberlineControl *control, const char *text);
TAMBERLINE_EXPORT int tamberline_ElemAttribs_get(TamberlineControl *control, int16_t index, char **result);
TAMBERLINE_EXPORT int tamberline_ElemAttribs_put(TamberlineControl *control, int16_t index, const char *text);
TAMBERLINE_EXPORT int tamberline_ClearAttribs(TamberlineControl *control);
TAMBERLINE_EXPORT int tamberline_NodeOffset_get(TamberlineControl *control, int32_t *result);
TAMBERLINE_EXPORT int tamberline_NodeOffset_put(TamberlineControl *control, int32_t value);
TAMBERLINE_EXPORT int tamberline_EditProperties(TamberlineControl *control, int16_t *result);
TAMBERLINE_EXPORT int tamberline_EditQueryItem(TamberlineControl *control, int16_t *result);
TAMBERLINE_EXPORT int tamberline_EditWizard(TamberlineControl *control, int16_t *result);

/* Any member by dispatch identifier. result may be NULL when the member returns nothing. */
TAMBERLINE_EXPORT int tamberline_invoke(TamberlineControl *control, int32_t dispid, int kind,
                                        const TamberlineValue *args, int argCount, TamberlineValue *result);

/* The description of the last failed call on this thread. Every call that returns 0 empties
 * it, except that EditQueryItem returning False (directly or through tamberline_invoke) leaves
 * the reason there; tamberline_last_error, tamberline_free_string and tamberline_value_clear
 * leave it alone. */
TAMBERLINE_EXPORT int tamberline_last_error(char **result);

TAMBERLINE_EXPORT void tamberline_free_string(char *text);
TAMBERLINE_EXPORT void tamberline_value_clear(TamberlineValue *value);

#ifdef __cplusplus
}
#endif

#endif
