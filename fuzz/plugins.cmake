vorn_fuzz(plugin_items_fuzz SOURCES PluginItemsFuzz.cpp LINKS KernelResource)
