// Device families: which settings a model has.
#include "batch/families.h"

#include "batch/models.h"
#include "plugin/uci.h"

namespace {

// clang-format off
constexpr family named_families[] = {
    // models       table              radios  zero when empty  applier
    {ardea_models,  batch_list_ardea,  2,      two_radio_flags, batch_set_heron},
    {mt76x8_models, batch_list_mt76x8, 1,      one_radio_flags, batch_set_mt},
    {mt7615_models, batch_list_mt7615, 2,      two_radio_flags, batch_set_mt7615},
    {finch_models,  batch_list_finch,  1,      one_radio_flags, batch_set_finch},
};
// clang-format on

} // namespace

const family_list cloud_families = {
    .named = named_families,
    .one_radio = {{}, batch_list2, 1, one_radio_flags, nullptr},
    .two_radios = {{}, batch_list1, 2, two_radio_flags, nullptr},
};

const family &family_of(const family_list &families, const char *model, zuci2_context *ctx) {
    for (const family &candidate : families.named)
        if (lists(candidate.models, model))
            return candidate;
    return count_sections(ctx, "wireless.@wifi-device") < 2 ? families.one_radio : families.two_radios;
}
