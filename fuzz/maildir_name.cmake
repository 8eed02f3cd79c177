quillbox_fuzzer(maildir_name USES mailclient)
