// The GTK window: a drawing area painted from a copy of the picture, a repaint
// timer for automatic update, and the pop-up menu with "Copy" and "Save as...".
// Every toolkit call happens on the window thread; the script thread only
// posts requests to its main loop.
#include "graphics/window.hpp"

#include <unistd.h>
#include <gtk/gtk.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

#include "graphics/picture_file.hpp"
#include "graphics/session.hpp"
#include "graphics/toolkit_calls.hpp"

namespace marl::gfx {

namespace {

constexpr const char *kTitle = "MARL graphics";
constexpr guint kRepaintMs = 30;
constexpr auto kStartTimeout = std::chrono::seconds(10);

enum class Ui { Untried, Running, Headless };

// Script-thread side.
std::mutex uiMutex;  // guards ui and uiThread
Ui ui = Ui::Untried;
std::thread uiThread;

// Shared: whether the window is on the screen, for waitForWindowClose().
std::mutex shownMutex;
std::condition_variable shownChanged;
bool windowShown = false;

// Window-thread side.
GtkWidget *window = nullptr;
GtkWidget *area = nullptr;
GtkWidget *menu = nullptr;
Bitmap shown;  // what the window shows
cairo_surface_t *shownSurface = nullptr;
uint64_t shownChanges = 0;

void setShown(bool on) {
  std::lock_guard<std::mutex> lock(shownMutex);
  windowShown = on;
  shownChanged.notify_all();
}

// Copies the picture; called on the window thread.
void syncFromSession() {
  {
    std::lock_guard<std::mutex> lock(sessionLock());
    const Session &s = session();
    if (!s.open) return;
    if (s.bitmap.width != shown.width || s.bitmap.height != shown.height || !shownSurface) {
      if (shownSurface) cairo_surface_destroy(shownSurface);
      shown = s.bitmap;
      shownSurface = cairo_image_surface_create_for_data(
          reinterpret_cast<unsigned char *>(shown.pixels.data()), CAIRO_FORMAT_RGB24, shown.width,
          shown.height, shown.width * 4);
      if (area) gtk_widget_set_size_request(area, shown.width, shown.height);
      if (window) gtk_window_resize(GTK_WINDOW(window), shown.width, shown.height);
    } else {
      shown.pixels = s.bitmap.pixels;
    }
    shownChanges = s.changes;
  }
  cairo_surface_mark_dirty(shownSurface);
  if (area) gtk_widget_queue_draw(area);
}

gboolean onDraw(GtkWidget *, cairo_t *cr, gpointer) {
  if (!shownSurface) return FALSE;
  cairo_set_source_surface(cr, shownSurface, 0, 0);
  cairo_paint(cr);
  return TRUE;
}

void copyPicture(GtkMenuItem *, gpointer) {
  if (!shownSurface) return;
  GdkPixbuf *pb = gdk_pixbuf_get_from_surface(shownSurface, 0, 0, shown.width, shown.height);
  if (!pb) return;
  gtk_clipboard_set_image(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), pb);
  g_object_unref(pb);
}

void savePictureAs(GtkMenuItem *, gpointer) {
  if (!window) return;
  GtkWidget *dialog = gtk_file_chooser_dialog_new(
      "Save as", GTK_WINDOW(window), GTK_FILE_CHOOSER_ACTION_SAVE, "_Cancel", GTK_RESPONSE_CANCEL,
      "_Save", GTK_RESPONSE_ACCEPT, nullptr);
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
  gtk_file_chooser_set_do_overwrite_confirmation(chooser, TRUE);
  gtk_file_chooser_set_current_name(chooser, "picture.bmp");
  if (gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT) {
    if (char *name = gtk_file_chooser_get_filename(chooser)) {
      std::string path(name);
      g_free(name);
      if (pictureTypeOf(path) != PictureType::Bmp) path += ".bmp";
      if (!writeBmp(path, shown)) {
        GtkWidget *msg =
            gtk_message_dialog_new(GTK_WINDOW(window), GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR,
                                   GTK_BUTTONS_CLOSE, "Cannot write %s", path.c_str());
        gtk_dialog_run(GTK_DIALOG(msg));
        gtk_widget_destroy(msg);
      }
    }
  }
  gtk_widget_destroy(dialog);
}

gboolean onButton(GtkWidget *, GdkEventButton *ev, gpointer) {
  if (ev->type == GDK_BUTTON_PRESS && ev->button == 3 && menu) {
    gtk_menu_popup_at_pointer(GTK_MENU(menu), reinterpret_cast<GdkEvent *>(ev));
    return TRUE;
  }
  return FALSE;
}

gboolean onKey(GtkWidget *w, GdkEventKey *ev, gpointer) {
  if (ev->keyval == GDK_KEY_Escape) {
    gtk_widget_destroy(w);
    return TRUE;
  }
  return FALSE;
}

void onDestroy(GtkWidget *, gpointer) {
  window = area = menu = nullptr;
  // Keep the copied picture available to other programs after we go.
  gtk_clipboard_store(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD));
  setShown(false);
}

void buildWindow() {
  window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), kTitle);
  gtk_window_set_resizable(GTK_WINDOW(window), FALSE);
  area = gtk_drawing_area_new();
  gtk_widget_add_events(area, GDK_BUTTON_PRESS_MASK);
  gtk_container_add(GTK_CONTAINER(window), area);
  g_signal_connect(area, "draw", G_CALLBACK(onDraw), nullptr);
  g_signal_connect(area, "button-press-event", G_CALLBACK(onButton), nullptr);
  g_signal_connect(window, "key-press-event", G_CALLBACK(onKey), nullptr);
  g_signal_connect(window, "destroy", G_CALLBACK(onDestroy), nullptr);

  menu = gtk_menu_new();
  GtkWidget *copy = gtk_menu_item_new_with_label("Copy");
  GtkWidget *save = gtk_menu_item_new_with_label("Save as...");
  g_signal_connect(copy, "activate", G_CALLBACK(copyPicture), nullptr);
  g_signal_connect(save, "activate", G_CALLBACK(savePictureAs), nullptr);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), copy);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), save);
  gtk_widget_show_all(menu);
  gtk_menu_attach_to_widget(GTK_MENU(menu), window, nullptr);
}

gboolean showOnUi(gpointer) {
  if (!window) buildWindow();
  if (shownSurface) {
    cairo_surface_destroy(shownSurface);
    shownSurface = nullptr;  // forces the size to be taken again
  }
  syncFromSession();
  gtk_widget_show_all(window);
  gtk_window_present(GTK_WINDOW(window));
  setShown(true);
  return G_SOURCE_REMOVE;
}

gboolean repaintOnUi(gpointer) {
  if (window) syncFromSession();
  return G_SOURCE_REMOVE;
}

gboolean finishOnUi(gpointer) {
  if (window) {
    std::string title = std::string(kTitle) + " - finished";
    gtk_window_set_title(GTK_WINDOW(window), title.c_str());
  }
  return G_SOURCE_REMOVE;
}

gboolean quitOnUi(gpointer) {
  if (window) gtk_widget_destroy(window);
  gtk_main_quit();
  return G_SOURCE_REMOVE;
}

// Automatic update: repaint when the picture changed since the last copy.
gboolean onTimer(gpointer) {
  if (!window) return G_SOURCE_CONTINUE;
  bool due;
  {
    std::lock_guard<std::mutex> lock(sessionLock());
    due = session().autoUpdate && session().changes != shownChanges;
  }
  if (due) syncFromSession();
  return G_SOURCE_CONTINUE;
}

void runUi(std::shared_ptr<std::promise<bool>> started) {
  // The interpreter's number formatting depends on the C locale; the toolkit
  // must not change it.
  gtk_disable_setlocale();
  if (!gtk_init_check(nullptr, nullptr)) {
    started->set_value(false);
    return;
  }
  g_timeout_add(kRepaintMs, onTimer, nullptr);
  started->set_value(true);
  gtk_main();
  if (shownSurface) cairo_surface_destroy(shownSurface);
  shownSurface = nullptr;
  shown = Bitmap();
}

bool hasDisplay() {
  const char *x = std::getenv("DISPLAY");
  const char *w = std::getenv("WAYLAND_DISPLAY");
  return (x && *x) || (w && *w);
}

// Starts the window thread on first use; false when there is no display.
bool uiRunning() {
  std::lock_guard<std::mutex> lock(uiMutex);
  if (ui == Ui::Untried) {
    ui = Ui::Headless;
    // Without a display, or without the toolkit installed, draw headless.
    if (!hasDisplay() || !loadWindow()) return false;
    auto started = std::make_shared<std::promise<bool>>();
    std::future<bool> result = started->get_future();
    try {
      uiThread = std::thread(runUi, started);
    } catch (const std::system_error &) {
      return false;
    }
    if (result.wait_for(kStartTimeout) != std::future_status::ready) {
      uiThread.detach();  // a display that never answers; run without it
    } else if (result.get()) {
      ui = Ui::Running;
    } else {
      uiThread.join();
    }
  }
  return ui == Ui::Running;
}

}  // namespace

void showWindow() {
  if (!uiRunning()) return;
  // Shown from now on, so that a script ending at once still waits for it.
  setShown(true);
  g_idle_add(showOnUi, nullptr);
}

void repaintWindow() {
  if (uiRunning()) g_idle_add(repaintOnUi, nullptr);
}

// Keeping the finished picture on screen only makes sense with someone there
// to close it; a script run by another program (a test, a pipeline) must end.
// MARL_GRAPHICS_WAIT=1 or 0 overrides the terminal test.
bool userCanClose() {
  const char *force = std::getenv("MARL_GRAPHICS_WAIT");
  if (force && *force) return *force != '0';
  return isatty(STDIN_FILENO);
}

void waitForWindowClose() {
  {
    std::lock_guard<std::mutex> lock(uiMutex);
    if (ui != Ui::Running) return;
  }
  if (!userCanClose()) return;
  g_idle_add(repaintOnUi, nullptr);
  g_idle_add(finishOnUi, nullptr);
  std::unique_lock<std::mutex> lock(shownMutex);
  shownChanged.wait(lock, [] { return !windowShown; });
}

void stopWindowThread() {
  std::lock_guard<std::mutex> lock(uiMutex);
  if (ui == Ui::Running) {
    g_idle_add(quitOnUi, nullptr);
    uiThread.join();
  }
  ui = Ui::Headless;
}

}  // namespace marl::gfx
