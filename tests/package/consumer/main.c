/* The shortest life of the library in C. */
#include <VqWebServices/vqws.h>

int main(void) {
    vqws_init_options options = {0};
    int32_t yes = 1;
    options.size = sizeof options;
    options.mode = VQWS_MODE_OWN;
    if (vqws_version() < VQWS_VERSION || vqws_init(&options) != VQWS_OK || vqws_is_logged_in(NULL, 0, &yes) != VQWS_OK)
        return 1;
    return vqws_uninit() == VQWS_OK && !yes ? 0 : 2;
}
