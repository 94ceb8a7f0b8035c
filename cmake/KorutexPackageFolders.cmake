# Run by cpack before it packs for Debian: folders that all users may enter, whatever the umask of who packs.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}"
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
