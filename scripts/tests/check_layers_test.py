#!/usr/bin/env python3
"""The layer check catches what it is there to catch: it runs on a copy of the
source tree with an upward reference planted, and must fail naming the file
and the line."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), '..', '..'))
CHECK = os.path.join(ROOT, 'scripts', 'check-layers.py')


def copy_tree(dst):
    def ignore(folder, names):
        return [n for n in names if n in ('.git',) or n.startswith('build')]
    shutil.copytree(ROOT, dst, ignore=ignore, dirs_exist_ok=True)


class LayerCheck(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.mkdtemp(prefix='layers-')
        self.root = os.path.join(self.tmp, 'tree')
        copy_tree(self.root)

    def tearDown(self):
        shutil.rmtree(self.tmp)

    def run_check(self):
        r = subprocess.run([sys.executable, CHECK, self.root], capture_output=True, text=True)
        return r.returncode, r.stdout + r.stderr

    def plant(self, rel, after_line, text):
        path = os.path.join(self.root, rel)
        with open(path, encoding='utf-8') as f:
            lines = f.readlines()
        lines.insert(after_line, text + '\n')
        with open(path, 'w', encoding='utf-8') as f:
            f.writelines(lines)
        return after_line + 1

    def test_the_tree_as_it_stands_passes(self):
        code, out = self.run_check()
        self.assertEqual(code, 0, out)

    def test_an_upward_quoted_include_is_named_with_file_and_line(self):
        line = self.plant('core/base/VbConvert.cpp', 1, '#include "mainwindow/app/frmMain.h"')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn(f'core/base/VbConvert.cpp:{line}: includes mainwindow/app/frmMain.h', out)

    def test_an_upward_include_in_angle_brackets_is_caught(self):
        line = self.plant('models/optics/clsDefZoom.cpp', 0, '#include <state/MainState.h>')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn(f'models/optics/clsDefZoom.cpp:{line}: includes state/MainState.h', out)

    def test_an_upward_include_through_a_relative_path_is_caught(self):
        line = self.plant('core/service/dbus/BusLayout.cpp', 0, '#include "../../../stand/SimulatedStand.h"')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn(f'core/service/dbus/BusLayout.cpp:{line}: includes stand/SimulatedStand.h', out)

    def test_an_include_that_cannot_be_placed_is_reported_not_passed(self):
        line = self.plant('models/optics/clsDefZoom.cpp', 0, '#include "NoSuchHeaderAnywhere.h"')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn(f'models/optics/clsDefZoom.cpp:{line}: cannot place the include "NoSuchHeaderAnywhere.h', out)

    def test_a_generated_file_is_placed_in_its_includers_layer(self):
        self.plant('models/optics/clsDefZoom.cpp', 0, '#include "moc_clsDefZoom.cpp"')
        code, out = self.run_check()
        self.assertEqual(code, 0, out)

    def test_an_upward_link_is_named_with_file_and_line(self):
        path = os.path.join(self.root, 'models', 'optics', 'CMakeLists.txt')
        with open(path, encoding='utf-8') as f:
            text = f.read()
        line = text.count('\n') + 1
        with open(path, 'a', encoding='utf-8') as f:
            f.write('target_link_libraries(zentor_optics_model PUBLIC zentor_stand)\n')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn(f'models/optics/CMakeLists.txt:{line}: zentor_optics_model (models/optics) links zentor_stand', out)

    def test_a_source_outside_every_layer_is_reported(self):
        os.makedirs(os.path.join(self.root, 'stray'))
        with open(os.path.join(self.root, 'stray', 'Loose.cpp'), 'w') as f:
            f.write('int x;\n')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn('stray/Loose.cpp:1: this file is in no folder of the layer order', out)

    def set_layers(self, edit):
        path = os.path.join(self.root, 'CMakeLists.txt')
        with open(path, encoding='utf-8') as f:
            text = f.read()
        with open(path, 'w', encoding='utf-8') as f:
            f.write(edit(text))

    def test_a_top_level_folder_split_by_another_is_named(self):
        # models/profiles moved after stand: the models/ folder is no longer one stretch.
        def edit(text):
            line = next(l for l in text.splitlines(True) if l.strip().startswith('models/profiles'))
            text = text.replace(line, '', 1)
            return text.replace('  stand/service ', '  ' + line.strip().split()[0] + '\n  stand/service ', 1)
        self.set_layers(edit)
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn('the layers of the top-level folder models/ are not one stretch of ZENTOR_LAYERS: '
                      'stand come between models/motion and models/profiles', out)

    def test_a_layer_that_no_folder_matches_is_reported(self):
        self.set_layers(lambda text: text.replace('  widgets ', '  widgets\n  widgets/nowhere ', 1))
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn('ZENTOR_LAYERS lists widgets/nowhere, which is no folder of the tree', out)

    def test_a_new_folder_below_a_stretch_but_outside_the_order_is_reported(self):
        os.makedirs(os.path.join(self.root, 'devicepanels', 'camera'))
        with open(os.path.join(self.root, 'devicepanels', 'camera', 'Camera.cpp'), 'w') as f:
            f.write('int y;\n')
        code, out = self.run_check()
        self.assertEqual(code, 1, out)
        self.assertIn('devicepanels/camera/Camera.cpp:1: this file is in no folder of the layer order', out)


if __name__ == '__main__':
    unittest.main()
