/* A product in plain C. It does what it reads on its standard input, and writes one line for each answer and each event. */

#include PRODUCT_HEADER
#include <stdio.h>
#include <string.h>

/* Of the test: makes this process trust the account service. */
void trust_authority(const char* file);

static void tell(const char* what, int32_t result, const char* text) {
    vqws_error error;
    char reason[1024];
    size_t length = 0;
    error.size = sizeof error;
    if (vqws_last_error(&error, reason, sizeof reason, &length) != VQWS_OK || error.code != result)
        strcpy(reason, "the last error is another one");
    printf("%s %d %s\n", what, (int)result, result == VQWS_OK ? text : reason);
    fflush(stdout);
}

static int32_t VQWS_CALL hear(const vqws_event* event, void* user) {
    (void)user;
    printf("event %d\n", (int)event->kind);
    fflush(stdout);
    return 0;
}

static void VQWS_CALL release(void* user) {
    printf("released %s\n", (const char*)user);
    fflush(stdout);
}

static void VQWS_CALL wake(void* user) {
    (void)user;
    printf("wake\n");
    fflush(stdout);
}

static int32_t start(const char* folder, int32_t mode) {
    vqws_init_options options;
    vqws_config config;
    uint64_t id = 0;
    int32_t result = vqws_set_support_paths(folder, VQWS_Z);
    memset(&options, 0, sizeof options);
    options.size = sizeof options;
    options.mode = mode;
    options.wake = wake;
    memset(&config, 0, sizeof config);
    config.size = sizeof config;
    config.consumer_key.data = "demo-product-0001";
    config.consumer_secret.data = "demo-secret-0001";
    config.consumer_key.length = config.consumer_secret.length = VQWS_Z;
    if (result == VQWS_OK)
        result = vqws_init(&options);
    if (result == VQWS_OK)
        result = vqws_observe(hear, "by the end", release, &id);
    if (result == VQWS_OK)
        result = vqws_set_config(NULL, 0, &config);
    return result == VQWS_OK ? vqws_restore_login(NULL, 0) : result;
}

static void sign(const char* url) {
    char header[4096] = "";
    size_t length = 0;
    vqws_request request;
    memset(&request, 0, sizeof request);
    request.size = sizeof request;
    request.mode = VQWS_SIGN_HEADER;
    request.url.data = url;
    request.url.length = VQWS_Z;
    tell("sign", vqws_sign_request(NULL, 0, &request, header, sizeof header, &length), header);
}

static void login(void) {
    char small[8] = "";
    char url[8192] = "";
    size_t length = 0;
    int32_t result = vqws_initiate_login(NULL, 0, NULL, 0, small, sizeof small, &length);
    if (result == VQWS_BUFFER)
        result = vqws_take_text(url, sizeof url, &length);
    printf("login %d %s\n", (int)result, url);
    fflush(stdout);
}

static void user(void) {
    char name[256] = "";
    size_t length = 0;
    tell("user", vqws_get_user_name(NULL, 0, name, sizeof name, &length), name);
}

int main(int count, char** arguments) {
    char line[4096];
    const int32_t mode = count == 4 ? VQWS_MODE_HOST : VQWS_MODE_OWN;
    if (count < 3)
        return 2;
    trust_authority(arguments[2]);
    tell("start", start(arguments[1], mode), "");
    while (fgets(line, sizeof line, stdin)) {
        line[strcspn(line, "\r\n")] = 0;
        if (strcmp(line, "login") == 0)
            login();
        else if (strcmp(line, "complete") == 0)
            tell(line, vqws_complete_login(NULL, 0, NULL, 0), "");
        else if (strcmp(line, "user") == 0)
            user();
        else if (strncmp(line, "sign ", 5) == 0)
            sign(line + 5);
        else if (strcmp(line, "logout") == 0)
            tell(line, vqws_logout(NULL, 0), "");
        else if (strcmp(line, "dispatch") == 0)
            tell(line, vqws_dispatch(), "");
        else if (strcmp(line, "restart") == 0)
            tell(line, vqws_uninit() == VQWS_OK ? start(arguments[1], mode) : -1, "");
        else
            return 3;
    }
    return vqws_uninit() == VQWS_OK ? 0 : 4;
}
