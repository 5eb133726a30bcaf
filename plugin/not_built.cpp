// Routes that are in the table but not built yet: each refuses every request.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"

namespace {

int refuse(json_object *out) {
    zjson_add_string(out, "msg", "not built");
    return -5;
}

} // namespace

int batch_set_wbf(json_object *, json_object *out) { return refuse(out); }
int batch_get_wbf(json_object *, json_object *out) { return refuse(out); }
int designated_customer(json_object *, json_object *out) { return refuse(out); }
