# gdb loads this file with libzar.so.1. It is below share/gdb/auto-load; the commands are in share/zar/gdb.
import os
import sys


def module_folder(path):
    while os.path.basename(path) not in ('auto-load', ''):
        path = os.path.dirname(path)
    return os.path.normpath(os.path.join(path, '..', '..', 'zar', 'gdb'))


sys.path.insert(0, module_folder(os.path.abspath(__file__)))
import zar_gdb
