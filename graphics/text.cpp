// Text through pango and cairo, onto the bitmap's own pixels.
#include "graphics/text.hpp"

#include <cairo.h>
#include <pango/pangocairo.h>

#include "graphics/toolkit_calls.hpp"

namespace marl::gfx {

namespace {

PangoFontDescription *describe(const FontSpec &font) {
  PangoFontDescription *d = pango_font_description_new();
  pango_font_description_set_family(d, font.family.c_str());
  pango_font_description_set_absolute_size(d, static_cast<double>(font.size) * PANGO_SCALE);
  pango_font_description_set_weight(d,
                                    font.style & kBold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_font_description_set_style(d,
                                   font.style & kItalic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  return d;
}

}  // namespace

TextExtent drawText(Bitmap &b, const Rect &clip, int64_t x, int64_t y, std::string_view utf8,
                    const FontSpec &font, uint32_t colour) {
  TextExtent ext{0, x, y};
  // Without the text libraries nothing is drawn, as if clipped away.
  if (b.width <= 0 || b.height <= 0 || !loadDrawing()) return ext;
  gchar *valid = g_utf8_make_valid(utf8.data(), static_cast<gssize>(utf8.size()));
  cairo_surface_t *surface =
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char *>(b.pixels.data()),
                                          CAIRO_FORMAT_RGB24, b.width, b.height, b.width * 4);
  cairo_t *cr = cairo_create(surface);
  cairo_rectangle(cr, clip.x1, clip.y1, clip.x2 - clip.x1 + 1.0, clip.y2 - clip.y1 + 1.0);
  cairo_clip(cr);
  cairo_set_source_rgb(cr, ((colour >> 16) & 0xFF) / 255.0, ((colour >> 8) & 0xFF) / 255.0,
                       (colour & 0xFF) / 255.0);
  PangoLayout *layout = pango_cairo_create_layout(cr);
  PangoFontDescription *desc = describe(font);
  pango_layout_set_font_description(layout, desc);
  if (font.style & kUnderline) {
    PangoAttrList *attrs = pango_attr_list_new();
    pango_attr_list_insert(attrs, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
    pango_layout_set_attributes(layout, attrs);
    pango_attr_list_unref(attrs);
  }
  // One layout per line, so that every line starts at x and the end of the
  // last one is known.
  std::string_view rest(valid);
  int64_t top = y;
  for (;;) {
    size_t nl = rest.find('\n');
    std::string_view line = rest.substr(0, nl);
    pango_layout_set_text(layout, line.data(), static_cast<int>(line.size()));
    int w = 0, h = 0;
    pango_layout_get_pixel_size(layout, &w, &h);
    cairo_move_to(cr, static_cast<double>(x), static_cast<double>(top));
    pango_cairo_show_layout(cr, layout);
    if (w > ext.width) ext.width = w;
    ext.endX = x + w;
    ext.endY = top;
    if (nl == std::string_view::npos) break;
    top += h;
    rest.remove_prefix(nl + 1);
  }
  pango_font_description_free(desc);
  g_object_unref(layout);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  cairo_surface_destroy(surface);
  g_free(valid);
  return ext;
}

}  // namespace marl::gfx
