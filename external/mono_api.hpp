// The Mono embedding functions the .NET bridge calls. The runtime library is
// large and costly to map, so it is opened on the first dotnet() call rather
// than linked: each function is reached through a table of pointers typed
// from the real prototypes, so every call is still checked when compiling.
#pragma once
#include <mono/jit/jit.h>
#include <mono/metadata/appdomain.h>
#include <mono/metadata/assembly.h>
#include <mono/metadata/class.h>
#include <mono/metadata/debug-helpers.h>
#include <mono/metadata/mono-config.h>
#include <mono/metadata/object.h>
#include <mono/metadata/reflection.h>

#include <string>

// Every function used, including those that header macros such as
// mono_array_setref expand into.
#define MARL_MONO_FUNCTIONS(X)            \
  X(mono_array_addr_with_size)            \
  X(mono_array_element_size)              \
  X(mono_array_length)                    \
  X(mono_array_new)                       \
  X(mono_assembly_get_image)              \
  X(mono_assembly_getrootdir)             \
  X(mono_assembly_load_with_partial_name) \
  X(mono_class_enum_basetype)             \
  X(mono_class_from_mono_type)            \
  X(mono_class_from_name)                 \
  X(mono_class_get_element_class)         \
  X(mono_class_get_fields)                \
  X(mono_class_get_flags)                 \
  X(mono_class_get_method_from_name)      \
  X(mono_class_get_methods)               \
  X(mono_class_get_name)                  \
  X(mono_class_get_namespace)             \
  X(mono_class_get_parent)                \
  X(mono_class_get_properties)            \
  X(mono_class_get_property_from_name)    \
  X(mono_class_get_type)                  \
  X(mono_class_is_enum)                   \
  X(mono_class_is_valuetype)              \
  X(mono_config_parse)                    \
  X(mono_domain_assembly_open)            \
  X(mono_field_get_flags)                 \
  X(mono_field_get_name)                  \
  X(mono_field_get_type)                  \
  X(mono_field_get_value_object)          \
  X(mono_field_set_value)                 \
  X(mono_gc_wbarrier_set_arrayref)        \
  X(mono_gchandle_free)                   \
  X(mono_gchandle_get_target)             \
  X(mono_gchandle_new)                    \
  X(mono_get_boolean_class)               \
  X(mono_get_corlib)                      \
  X(mono_get_double_class)                \
  X(mono_get_int32_class)                 \
  X(mono_get_object_class)                \
  X(mono_jit_cleanup)                     \
  X(mono_jit_init_version)                \
  X(mono_method_get_class)                \
  X(mono_method_get_flags)                \
  X(mono_method_get_name)                 \
  X(mono_method_signature)                \
  X(mono_object_get_class)                \
  X(mono_object_get_virtual_method)       \
  X(mono_object_isinst)                   \
  X(mono_object_new)                      \
  X(mono_object_unbox)                    \
  X(mono_property_get_get_method)         \
  X(mono_property_get_name)               \
  X(mono_property_get_set_method)         \
  X(mono_property_get_value)              \
  X(mono_reflection_type_from_name)       \
  X(mono_runtime_invoke)                  \
  X(mono_signature_get_param_count)       \
  X(mono_signature_get_params)            \
  X(mono_signature_get_return_type)       \
  X(mono_string_chars)                    \
  X(mono_string_length)                   \
  X(mono_string_new_utf16)                \
  X(mono_type_get_type)                   \
  X(mono_type_is_byref)                   \
  X(mono_type_is_reference)               \
  X(mono_value_box)

namespace marl {

struct MonoApi {
#define MARL_MONO_SLOT(name) decltype(&::name) name = nullptr;
  MARL_MONO_FUNCTIONS(MARL_MONO_SLOT)
#undef MARL_MONO_SLOT
};
extern MonoApi monoApi;

// Opens the runtime library and fills monoApi, once per process; later calls
// give the first answer. On failure `error` says what is missing.
bool loadMono(std::string &error);

}  // namespace marl

// Calls below this point go through the table.
#ifndef MARL_MONO_API_TABLE
#define mono_array_addr_with_size (*::marl::monoApi.mono_array_addr_with_size)
#define mono_array_element_size (*::marl::monoApi.mono_array_element_size)
#define mono_array_length (*::marl::monoApi.mono_array_length)
#define mono_array_new (*::marl::monoApi.mono_array_new)
#define mono_assembly_get_image (*::marl::monoApi.mono_assembly_get_image)
#define mono_assembly_getrootdir (*::marl::monoApi.mono_assembly_getrootdir)
#define mono_assembly_load_with_partial_name (*::marl::monoApi.mono_assembly_load_with_partial_name)
#define mono_class_enum_basetype (*::marl::monoApi.mono_class_enum_basetype)
#define mono_class_from_mono_type (*::marl::monoApi.mono_class_from_mono_type)
#define mono_class_from_name (*::marl::monoApi.mono_class_from_name)
#define mono_class_get_element_class (*::marl::monoApi.mono_class_get_element_class)
#define mono_class_get_fields (*::marl::monoApi.mono_class_get_fields)
#define mono_class_get_flags (*::marl::monoApi.mono_class_get_flags)
#define mono_class_get_method_from_name (*::marl::monoApi.mono_class_get_method_from_name)
#define mono_class_get_methods (*::marl::monoApi.mono_class_get_methods)
#define mono_class_get_name (*::marl::monoApi.mono_class_get_name)
#define mono_class_get_namespace (*::marl::monoApi.mono_class_get_namespace)
#define mono_class_get_parent (*::marl::monoApi.mono_class_get_parent)
#define mono_class_get_properties (*::marl::monoApi.mono_class_get_properties)
#define mono_class_get_property_from_name (*::marl::monoApi.mono_class_get_property_from_name)
#define mono_class_get_type (*::marl::monoApi.mono_class_get_type)
#define mono_class_is_enum (*::marl::monoApi.mono_class_is_enum)
#define mono_class_is_valuetype (*::marl::monoApi.mono_class_is_valuetype)
#define mono_config_parse (*::marl::monoApi.mono_config_parse)
#define mono_domain_assembly_open (*::marl::monoApi.mono_domain_assembly_open)
#define mono_field_get_flags (*::marl::monoApi.mono_field_get_flags)
#define mono_field_get_name (*::marl::monoApi.mono_field_get_name)
#define mono_field_get_type (*::marl::monoApi.mono_field_get_type)
#define mono_field_get_value_object (*::marl::monoApi.mono_field_get_value_object)
#define mono_field_set_value (*::marl::monoApi.mono_field_set_value)
#define mono_gc_wbarrier_set_arrayref (*::marl::monoApi.mono_gc_wbarrier_set_arrayref)
#define mono_gchandle_free (*::marl::monoApi.mono_gchandle_free)
#define mono_gchandle_get_target (*::marl::monoApi.mono_gchandle_get_target)
#define mono_gchandle_new (*::marl::monoApi.mono_gchandle_new)
#define mono_get_boolean_class (*::marl::monoApi.mono_get_boolean_class)
#define mono_get_corlib (*::marl::monoApi.mono_get_corlib)
#define mono_get_double_class (*::marl::monoApi.mono_get_double_class)
#define mono_get_int32_class (*::marl::monoApi.mono_get_int32_class)
#define mono_get_object_class (*::marl::monoApi.mono_get_object_class)
#define mono_jit_cleanup (*::marl::monoApi.mono_jit_cleanup)
#define mono_jit_init_version (*::marl::monoApi.mono_jit_init_version)
#define mono_method_get_class (*::marl::monoApi.mono_method_get_class)
#define mono_method_get_flags (*::marl::monoApi.mono_method_get_flags)
#define mono_method_get_name (*::marl::monoApi.mono_method_get_name)
#define mono_method_signature (*::marl::monoApi.mono_method_signature)
#define mono_object_get_class (*::marl::monoApi.mono_object_get_class)
#define mono_object_get_virtual_method (*::marl::monoApi.mono_object_get_virtual_method)
#define mono_object_isinst (*::marl::monoApi.mono_object_isinst)
#define mono_object_new (*::marl::monoApi.mono_object_new)
#define mono_object_unbox (*::marl::monoApi.mono_object_unbox)
#define mono_property_get_get_method (*::marl::monoApi.mono_property_get_get_method)
#define mono_property_get_name (*::marl::monoApi.mono_property_get_name)
#define mono_property_get_set_method (*::marl::monoApi.mono_property_get_set_method)
#define mono_property_get_value (*::marl::monoApi.mono_property_get_value)
#define mono_reflection_type_from_name (*::marl::monoApi.mono_reflection_type_from_name)
#define mono_runtime_invoke (*::marl::monoApi.mono_runtime_invoke)
#define mono_signature_get_param_count (*::marl::monoApi.mono_signature_get_param_count)
#define mono_signature_get_params (*::marl::monoApi.mono_signature_get_params)
#define mono_signature_get_return_type (*::marl::monoApi.mono_signature_get_return_type)
#define mono_string_chars (*::marl::monoApi.mono_string_chars)
#define mono_string_length (*::marl::monoApi.mono_string_length)
#define mono_string_new_utf16 (*::marl::monoApi.mono_string_new_utf16)
#define mono_type_get_type (*::marl::monoApi.mono_type_get_type)
#define mono_type_is_byref (*::marl::monoApi.mono_type_is_byref)
#define mono_type_is_reference (*::marl::monoApi.mono_type_is_reference)
#define mono_value_box (*::marl::monoApi.mono_value_box)
#endif
