#include "control/property_query.h"

#include "control/property_rows.h"

bool QueryProperty(const ControlContext& context, CAM_PROPERTY property, CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kGetProperty, kLogInfo, "CKelVeskCamera::GetProperty prop=0x%X\r\n",
               static_cast<unsigned>(property));
    const PropertyRow* const row = FindProperty(property);
    if (row == nullptr || row->access == Access::kSet) {
        CAM_LOG_AS(kGetProperty, kLogDebugging, "Not supported camera property 0x%X\r\n",
                   static_cast<unsigned>(property));
        return false;
    }
    if (row->read != nullptr)
        return row->read(context, value);
    value.value = row->stored.member.Get(context.settings);
    return true;
}
