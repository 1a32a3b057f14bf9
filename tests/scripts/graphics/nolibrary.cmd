MARL_PANGOCAIRO_LIBRARY=/nonexistent/libpangocairo-1.0.so.0 DISPLAY= WAYLAND_DISPLAY= "$MARL" nolibrary.mr
