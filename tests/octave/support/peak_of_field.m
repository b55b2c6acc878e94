% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% peak_of_field(name, value, sizes, limit): in an Octave of its own: computes a field of these sizes,
% with an option of pistonfield_pressure, within a limit on memory and writes on standard error how
% many slabs it took and by how many bytes the process's peak grew. The same is called before for a
% few points, so that the module, its libraries and the functions are loaded. With 'weights' it is two
% fields of an array, whatever the value.
function peak_of_field(name, value, sizes, limit)
  piston = struct('width', 7.5e-3, 'height', 5e-3);
  fields = 1;
  if strcmp(name, 'weights')  % of an array, two columns
    fields = 2;
    piston = pistonfield_array('line', 'elements', 4, 'pitch', 2e-3, 'width', 1e-3, 'height', 5e-3);
    value = [1 2; 3 4; 5 6; 7 8i];
  end
  range = @(count) (1:count) * 1e-4;
  field = @(n, limit) pistonfield_pressure(piston, ...
    pistonfield_grid(range(n(1)), range(n(2)), range(n(3))), 'frequency', 1e6, name, value, ...
    'memory', limit, 'tolerance', 1e-3, 'progress', 'none');
  field([2 2 2], fields * (16 * 8 + 56));
  before = peak();
  [p, info] = field(sizes, limit);
  fprintf(stderr(), '%d slabs, %g bytes', info.slabs, peak() - before);
end

function bytes = peak()
  found = regexp(fileread('/proc/self/status'), 'VmHWM:\s+(\d+) kB', 'tokens', 'once');
  bytes = str2double(found{1}) * 1024;
end
