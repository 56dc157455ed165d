/* A host written in C that uses only the public header and the shared library. */
#include <tamberline/tamberline.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int failures = 0;

#define CHECK(condition)                                                            \
    do {                                                                            \
        if (!(condition)) {                                                         \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                                             \
        }                                                                           \
    } while (0)

/* Reads a text property and compares it, freeing the copy. */
static int textIs(int status, char *text, const char *expected)
{
    int same = status == 0 && text && strcmp(text, expected) == 0;
    if (!same)
        fprintf(stderr, "  got status %d, text \"%s\", expected \"%s\"\n", status, text ? text : "(null)", expected);
    tamberline_free_string(text);
    return same;
}

static int lastErrorMentions(const char *part)
{
    char *text = NULL;
    int found = tamberline_last_error(&text) == 0 && text && strstr(text, part) != NULL;
    if (!found)
        fprintf(stderr, "  last error \"%s\" does not mention \"%s\"\n", text ? text : "(null)", part);
    tamberline_free_string(text);
    return found;
}

static int url1Is(TamberlineControl *control, const char *expected)
{
    char *text = NULL;
    int status = tamberline_Url1_get(control, &text);
    return textIs(status, text, expected);
}

static int attribIs(TamberlineControl *control, int16_t index, const char *expected)
{
    char *text = NULL;
    int status = tamberline_ElemAttribs_get(control, index, &text);
    return textIs(status, text, expected);
}

/* What the control does with the values is tst_querydefinition's and tst_dispatch's; here, what
 * crosses the C boundary: texts, types, status numbers and the last error. */
static void testProperties(void)
{
    TamberlineControl *first = NULL, *second = NULL;
    int16_t allow = 0;
    int32_t offset = 0;
    char *text = NULL;

    CHECK(tamberline_create(&first) == 0 && first);
    CHECK(tamberline_create(&second) == 0 && second);
    CHECK(tamberline_Url1_put(first, "http://shop.example/item?id=%id%&lang=\xc3\xa9") == 0);
    CHECK(url1Is(second, "http://shop.example/item?id=%id%&lang=\xc3\xa9"));
    CHECK(tamberline_AllowNav2_put(second, TAMBERLINE_TRUE) == 0);
    CHECK(tamberline_AllowNav2_get(first, &allow) == 0 && allow == TAMBERLINE_TRUE);
    CHECK(tamberline_SearchText_put(first, "x") == 0 && tamberline_SearchText_put(first, NULL) == 0); /* NULL is "" */
    CHECK(tamberline_SearchText_get(second, &text) == 0 && textIs(0, text, ""));
    CHECK(tamberline_NodeOffset_put(second, -2147483647 - 1) == 0);
    CHECK(tamberline_NodeOffset_get(first, &offset) == 0 && offset == -2147483647 - 1);
    CHECK(tamberline_ElemAttribs_put(first, -1, "b=2") == 0);
    CHECK(tamberline_ElemAttribs_put(second, 0, "x=9") == 424);
    CHECK(tamberline_last_error(&text) == 0 && textIs(0, text, "Object required"));
    CHECK(attribIs(first, 0, "b=2"));
    CHECK(tamberline_last_error(&text) == 0 && textIs(0, text, ""));

    /* Bytes that are not UTF-8 are refused, not stored with replacement characters. */
    CHECK(tamberline_Url1_put(first, "http://shop.example/\xff") == 5);
    CHECK(lastErrorMentions("UTF-8"));
    CHECK(url1Is(first, "http://shop.example/item?id=%id%&lang=\xc3\xa9"));
    CHECK(tamberline_SearchText_put(first, "Price \xed\xa0\x80") == 5); /* an encoded surrogate */
    CHECK(tamberline_ElemAttribs_put(first, -1, "class=\xc3") == 5);   /* cut short */
    CHECK(attribIs(first, 1, ""));
    CHECK(tamberline_ClearAttribs(second) == 0);
    CHECK(attribIs(first, 0, ""));

    CHECK(tamberline_release(second) == 0);
    CHECK(url1Is(first, "http://shop.example/item?id=%id%&lang=\xc3\xa9"));
    CHECK(tamberline_release(first) == 0);
}

static int invoke(TamberlineControl *control, int32_t dispid, int kind, int type, int32_t number, char *text, int count,
                  TamberlineValue *result)
{
    TamberlineValue args[2] = {{type, number, text}, {TAMBERLINE_TEXT, 0, text}};
    return tamberline_invoke(control, dispid, kind, args, count, result);
}

static void testInvoke(void)
{
    TamberlineControl *control = NULL;
    TamberlineValue result = {TAMBERLINE_EMPTY, 0, NULL};
    char attrib[] = "class=price";
    char url[] = "page.htm";
    char overlong[] = "page\xc0\xae.htm"; /* an overlong '.' */
    const int get = TAMBERLINE_PROPERTYGET, put = TAMBERLINE_PROPERTYPUT;

    CHECK(tamberline_create(&control) == 0);
    CHECK(invoke(control, TAMBERLINE_DISPID_URL1, put, TAMBERLINE_TEXT, 0, url, 1, NULL) == 0);
    CHECK(url1Is(control, "page.htm"));
    CHECK(invoke(control, TAMBERLINE_DISPID_ELEMATTRIBS, put, TAMBERLINE_INT16, -1, attrib, 2, NULL) == 0);
    CHECK(invoke(control, TAMBERLINE_DISPID_ELEMATTRIBS, TAMBERLINE_METHOD | get, TAMBERLINE_INT16, 0, NULL, 1, &result) == 0);
    CHECK(result.type == TAMBERLINE_TEXT && result.text && strcmp(result.text, "class=price") == 0);
    tamberline_value_clear(&result);
    CHECK(result.type == TAMBERLINE_EMPTY && result.text == NULL);

    CHECK(invoke(control, TAMBERLINE_DISPID_ALLOWNAV2, put, TAMBERLINE_BOOL, TAMBERLINE_TRUE, NULL, 1, NULL) == 0);
    CHECK(invoke(control, TAMBERLINE_DISPID_ALLOWNAV2, get, 0, 0, NULL, 0, &result) == 0);
    CHECK(result.type == TAMBERLINE_BOOL && result.number == -1);
    CHECK(invoke(control, TAMBERLINE_DISPID_ALLOWNAV2, put, TAMBERLINE_BOOL, 0, NULL, 1, NULL) == 0);
    /* non-zero in 32 bits, zero in the low 16 */
    CHECK(invoke(control, TAMBERLINE_DISPID_ALLOWNAV2, put, TAMBERLINE_BOOL, 65536, NULL, 1, NULL) == 0);
    CHECK(invoke(control, TAMBERLINE_DISPID_ALLOWNAV2, get, 0, 0, NULL, 0, &result) == 0);
    CHECK(result.type == TAMBERLINE_BOOL && result.number == -1);

    CHECK(invoke(control, TAMBERLINE_DISPID_NODEOFFSET, put, TAMBERLINE_INT32, 12, NULL, 1, NULL) == 0);
    CHECK(invoke(control, TAMBERLINE_DISPID_NODEOFFSET, get, 0, 0, NULL, 0, &result) == 0);
    CHECK(result.type == TAMBERLINE_INT32 && result.number == 12);
    CHECK(tamberline_invoke(control, TAMBERLINE_DISPID_CLEARATTRIBS, TAMBERLINE_METHOD, NULL, 0, NULL) == 0);
    CHECK(attribIs(control, 0, ""));

    /* Failures leave the result as it was. */
    CHECK(invoke(control, TAMBERLINE_DISPID_ELEMATTRIBS, get, TAMBERLINE_INT32, 40000, NULL, 1, &result) == 6);
    CHECK(tamberline_invoke(control, 0x12345678, TAMBERLINE_METHOD, NULL, 0, &result) == 438);
    CHECK(invoke(control, TAMBERLINE_DISPID_URL1, get, TAMBERLINE_INT32, 1, NULL, 1, &result) == 450);
    CHECK(result.type == TAMBERLINE_INT32 && result.number == 12);
    CHECK(invoke(control, TAMBERLINE_DISPID_URL1, put, 99, 0, url, 1, NULL) == 13);
    CHECK(tamberline_invoke(control, TAMBERLINE_DISPID_URL1, put, NULL, 1, NULL) == 5);
    CHECK(invoke(control, TAMBERLINE_DISPID_URL1, put, TAMBERLINE_TEXT, 0, url, -1, NULL) == 5);
    CHECK(invoke(control, TAMBERLINE_DISPID_URL1, put, TAMBERLINE_TEXT, 0, overlong, 1, NULL) == 5);
    CHECK(url1Is(control, "page.htm"));
    CHECK(tamberline_release(control) == 0);
}

static void testMisuse(void)
{
    char *text = NULL;
    TamberlineControl *control = NULL;
    CHECK(tamberline_Url1_get(NULL, &text) == 424 && text == NULL);
    CHECK(tamberline_release(NULL) == 424);
    CHECK(tamberline_create(NULL) == 5);
    CHECK(tamberline_create(&control) == 0);
    CHECK(tamberline_AllowNav2_get(control, NULL) == 5);
    CHECK(tamberline_EditWizard(control, NULL) == 5);
    CHECK(tamberline_release(control) == 0);
}

/* The editors in a process where they cannot open: an error number back, the host alive. */
static void testEditorsWithoutWindowSystem(void)
{
    TamberlineControl *control = NULL;
    TamberlineValue result = {TAMBERLINE_INT32, 7, NULL};
    int16_t flag = 1;
    CHECK(tamberline_create(&control) == 0);
    CHECK(tamberline_Url1_put(control, "kept") == 0);
    CHECK(tamberline_EditQueryItem(control, &flag) == 5 && flag == 1);
    CHECK(lastErrorMentions("QT_QPA_PLATFORM=offscreen"));
    CHECK(tamberline_EditWizard(control, &flag) == 5);
    CHECK(tamberline_EditProperties(control, &flag) == 5 && flag == 1);
    CHECK(tamberline_invoke(control, TAMBERLINE_DISPID_EDITWIZARD, TAMBERLINE_METHOD, NULL, 0, &result) == 5);
    CHECK(result.type == TAMBERLINE_INT32 && result.number == 7);
    CHECK(url1Is(control, "kept"));
    CHECK(tamberline_release(control) == 0);
}

/* As root the browser refuses to run with its sandbox; EditQueryItem makes that False, and the
 * host can read why. As anyone else it would open the Page Parser, which nobody closes here. */
static void testSandboxRefusal(void)
{
    TamberlineControl *control = NULL;
    TamberlineValue result = {TAMBERLINE_EMPTY, 0, NULL};
    char *text = NULL;
    int16_t flag = 1;
    if (geteuid() != 0 || getenv("QTWEBENGINE_DISABLE_SANDBOX"))
        return;
    CHECK(tamberline_create(&control) == 0);
    CHECK(tamberline_EditQueryItem(control, &flag) == 0 && flag == TAMBERLINE_FALSE);
    CHECK(lastErrorMentions("QTWEBENGINE_DISABLE_SANDBOX=1"));
    CHECK(tamberline_ClearAttribs(control) == 0);
    CHECK(tamberline_last_error(&text) == 0 && textIs(0, text, ""));
    CHECK(tamberline_invoke(control, TAMBERLINE_DISPID_EDITQUERYITEM, TAMBERLINE_METHOD, NULL, 0, &result) == 0);
    CHECK(result.type == TAMBERLINE_BOOL && result.number == 0);
    CHECK(lastErrorMentions("sandbox"));
    CHECK(tamberline_release(control) == 0);
}

struct ThreadResult {
    int wrongThreadStatus;
    int editorRefused;
    TamberlineControl *foreign;
};

/* A control belongs to the thread that made it, and editors open only on the main thread. */
static void *otherThread(void *argument)
{
    struct ThreadResult *result = (struct ThreadResult *)argument;
    TamberlineControl *own = NULL;
    int16_t flag = 1;
    char *text = NULL;
    result->wrongThreadStatus = tamberline_Url1_get(result->foreign, &text);
    tamberline_free_string(text);
    result->editorRefused = tamberline_create(&own) == 0 && tamberline_EditQueryItem(own, &flag) == 5
                            && lastErrorMentions("another thread");
    tamberline_release(own);
    return NULL;
}

static void testThreads(void)
{
    TamberlineControl *control = NULL;
    pthread_t thread;
    struct ThreadResult result = {0, 0, NULL};
    CHECK(tamberline_create(&control) == 0);
    result.foreign = control;
    CHECK(pthread_create(&thread, NULL, otherThread, &result) == 0);
    CHECK(pthread_join(thread, NULL) == 0);
    CHECK(result.wrongThreadStatus == 5);
    CHECK(result.editorRefused);
    CHECK(tamberline_release(control) == 0);
}

/* With the argument "no-window-system" the process has no display and no QT_QPA_PLATFORM that
 * would do without one. */
int main(int argc, char **argv)
{
    int windowless = argc > 1 && strcmp(argv[1], "no-window-system") == 0;
    testProperties();
    testInvoke();
    testMisuse();
    if (windowless)
        testEditorsWithoutWindowSystem();
    else
        testSandboxRefusal();
    testThreads();
    if (failures)
        fprintf(stderr, "%d checks failed\n", failures);
    else
        printf("all checks passed\n");
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
