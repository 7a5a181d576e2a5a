#include "control/property_rows.h"

const PropertyRow* FindProperty(unsigned id)
{
    for (const PropertyGroup* const group : kPropertyGroups) {
        for (const PropertyRow& row : *group) {
            if (row.id == id)
                return &row;
        }
    }
    return nullptr;
}
