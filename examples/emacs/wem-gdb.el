;;; wem-gdb.el --- run Emacs's gdb-mi (M-x gdb) on wem  -*- lexical-binding: t -*-

;; M-x wem-gdb asks for the program and starts `gdb' (gdb-mi.el) with "wem -i=mi PROGRAM" and
;; WEM_COMPAT=gdb in wem's environment, so that wem answers as stock gdb does where gdb-mi
;; expects it. Without this file the same is:
;;   M-x setenv RET WEM_COMPAT RET gdb RET
;;   M-x gdb RET /path/to/build/bin/wem -i=mi ./program RET

(require 'gdb-mi)

(defvar wem-gdb-program "wem"
  "The wem program (for example \"/path/to/build/bin/wem\").")

(defvar wem-gdb-host-engine "gdb"
  "The host engine wem starts (ZUBC_HOST).")

(defun wem-gdb (program)
  "Debug PROGRAM with gdb-mi, wem being the debugger."
  (interactive "fProgram to debug: ")
  (let ((process-environment
         (append (list "WEM_COMPAT=gdb" (concat "ZUBC_HOST=" wem-gdb-host-engine))
                 process-environment)))
    (gdb (combine-and-quote-strings
          (list wem-gdb-program "-i=mi" (expand-file-name program))))))

(provide 'wem-gdb)
;;; wem-gdb.el ends here
