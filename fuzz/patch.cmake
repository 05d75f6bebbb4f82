vorn_fuzz(patch_apply_fuzz SOURCES PatchApplyFuzz.cpp LINKS delta)
