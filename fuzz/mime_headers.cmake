quillbox_fuzzer(mime_headers USES mailclient)
