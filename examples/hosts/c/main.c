#include <tamberline/tamberline.h>
#include <stdio.h>

int main(void)
{
    TamberlineControl *query;
    char *text;
    int16_t saved;

    tamberline_create(&query);
    tamberline_Url1_put(query, "https://shop.example/item?id=%id%");
    tamberline_SearchText_put(query, "Price*");
    tamberline_NodeOffset_put(query, 1);
    tamberline_ElemAttribs_put(query, -1, "class=price");       /* -1 appends */

    if (tamberline_ElemAttribs_put(query, 0, "class=other") == 424) {
        tamberline_last_error(&text);                            /* "Object required": */
        printf("entries cannot be replaced: %s\n", text);        /* clear and append */
        tamberline_free_string(text);
    }

    tamberline_ElemAttribs_get(query, 0, &text);                 /* "class=price" */
    printf("filter: %s\n", text);
    tamberline_free_string(text);

    if (tamberline_EditQueryItem(query, &saved) == 0 && saved == TAMBERLINE_TRUE) {
        tamberline_Url1_get(query, &text);                       /* read the query back */
        printf("address: %s\n", text);
        tamberline_free_string(text);
    } else {
        tamberline_last_error(&text);                            /* no window system, say */
        printf("not edited: %s\n", text);
        tamberline_free_string(text);
    }
    tamberline_release(query);
    return 0;
}
