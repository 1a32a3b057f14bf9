// The window toolkit and its drawing libraries, opened with dlopen on first use so
// that starting the interpreter does not pay for mapping and binding them.
// Every function the folder calls is listed here; the pointers carry the real
// prototypes, so each call is still checked against the toolkit's headers.
#pragma once
#include <gtk/gtk.h>
#include <pango/pangocairo.h>

#include <string>

// Drawing without a display: cairo, pango and the glib calls they need.
#define MARL_DRAWING_FUNCTIONS(X)             \
  X(cairo_clip)                               \
  X(cairo_create)                             \
  X(cairo_destroy)                            \
  X(cairo_image_surface_create_for_data)      \
  X(cairo_move_to)                            \
  X(cairo_paint)                              \
  X(cairo_rectangle)                          \
  X(cairo_set_source_rgb)                     \
  X(cairo_set_source_surface)                 \
  X(cairo_surface_destroy)                    \
  X(cairo_surface_flush)                      \
  X(cairo_surface_mark_dirty)                 \
  X(cairo_surface_write_to_png)               \
  X(g_free)                                   \
  X(g_object_unref)                           \
  X(g_utf8_make_valid)                        \
  X(pango_attr_list_insert)                   \
  X(pango_attr_list_new)                      \
  X(pango_attr_list_unref)                    \
  X(pango_attr_underline_new)                 \
  X(pango_cairo_create_layout)                \
  X(pango_cairo_show_layout)                  \
  X(pango_font_description_free)              \
  X(pango_font_description_new)               \
  X(pango_font_description_set_absolute_size) \
  X(pango_font_description_set_family)        \
  X(pango_font_description_set_style)         \
  X(pango_font_description_set_weight)        \
  X(pango_layout_get_pixel_size)              \
  X(pango_layout_set_attributes)              \
  X(pango_layout_set_font_description)        \
  X(pango_layout_set_text)

// The window itself. The *_get_type and g_type_check_instance_cast entries are
// what GTK_WINDOW() and friends expand to; g_signal_connect_data is behind
// g_signal_connect.
#define MARL_WINDOW_FUNCTIONS(X)                    \
  X(g_idle_add)                                     \
  X(g_signal_connect_data)                          \
  X(g_timeout_add)                                  \
  X(g_type_check_instance_cast)                     \
  X(gdk_pixbuf_get_from_surface)                    \
  X(gtk_clipboard_get)                              \
  X(gtk_clipboard_set_image)                        \
  X(gtk_clipboard_store)                            \
  X(gtk_container_add)                              \
  X(gtk_container_get_type)                         \
  X(gtk_dialog_get_type)                            \
  X(gtk_dialog_run)                                 \
  X(gtk_disable_setlocale)                          \
  X(gtk_drawing_area_new)                           \
  X(gtk_file_chooser_dialog_new)                    \
  X(gtk_file_chooser_get_filename)                  \
  X(gtk_file_chooser_get_type)                      \
  X(gtk_file_chooser_set_current_name)              \
  X(gtk_file_chooser_set_do_overwrite_confirmation) \
  X(gtk_init_check)                                 \
  X(gtk_main)                                       \
  X(gtk_main_quit)                                  \
  X(gtk_menu_attach_to_widget)                      \
  X(gtk_menu_get_type)                              \
  X(gtk_menu_item_new_with_label)                   \
  X(gtk_menu_new)                                   \
  X(gtk_menu_popup_at_pointer)                      \
  X(gtk_menu_shell_append)                          \
  X(gtk_menu_shell_get_type)                        \
  X(gtk_message_dialog_new)                         \
  X(gtk_widget_add_events)                          \
  X(gtk_widget_destroy)                             \
  X(gtk_widget_queue_draw)                          \
  X(gtk_widget_set_size_request)                    \
  X(gtk_widget_show_all)                            \
  X(gtk_window_get_type)                            \
  X(gtk_window_new)                                 \
  X(gtk_window_present)                             \
  X(gtk_window_resize)                              \
  X(gtk_window_set_resizable)                       \
  X(gtk_window_set_title)

namespace marl::gfx {

#define MARL_TOOLKIT_POINTER(name) decltype(&::name) name = nullptr;
struct DrawingApi {
  MARL_DRAWING_FUNCTIONS(MARL_TOOLKIT_POINTER)
};
struct WindowApi {
  MARL_WINDOW_FUNCTIONS(MARL_TOOLKIT_POINTER)
};
#undef MARL_TOOLKIT_POINTER

// Filled by the loaders below; read only after one of them returned true.
extern DrawingApi drawingApi;
extern WindowApi windowApi;

// Open the library once (later calls return the remembered outcome, from any
// thread). False when it or one of the functions is missing; toolkitError()
// then says why.
bool loadDrawing();
bool loadWindow();
std::string toolkitError();

}  // namespace marl::gfx
