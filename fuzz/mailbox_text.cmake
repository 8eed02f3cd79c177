quillbox_fuzzer(mailbox_text USES automation)
