% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A volume written for viewers: the values to an HDF5 file, and where they lie to an XDMF file
% beside it, which ParaView, VisIt and others open.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example8_volume_for_a_viewer.m

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

piston = struct('width', 7.5e-3, 'height', 5e-3);
frequency = 1e6;  % Hz
x = (-8:0.25:8) * 1e-3;
y = (-6:0.25:6) * 1e-3;
z = (0.5:0.25:30) * 1e-3;
grid = pistonfield_grid(x, y, z);
p = pistonfield_pressure(piston, grid, 'frequency', frequency, 'speed', 1500, 'density', 1000, ...
                         'velocity', 0.1);

magnitude = single(abs(p));           % Pa
phase = single(angle(p) * 180 / pi);  % degrees

% Both programs write an array's dimensions in the order that C has: z, y, x.
file = fullfile(folder, 'volume.h5');
if exist(file, 'file')
  delete(file);
end
if exist('OCTAVE_VERSION', 'builtin')
  save('-hdf5', file, 'magnitude', 'phase');
else
  h5create(file, '/magnitude/value', size(magnitude), 'Datatype', 'single');
  h5create(file, '/phase/value', size(phase), 'Datatype', 'single');
  h5write(file, '/magnitude/value', magnitude);
  h5write(file, '/phase/value', phase);
end

sizes = sprintf('%d %d %d', grid.sizes([3 2 1]));
vector = @(x, y, z) sprintf([ ...
  '        <DataItem Format="XML" NumberType="Float" Precision="8" Dimensions="3">\n' ...
  '          %.9g %.9g %.9g\n' ...
  '        </DataItem>\n'], z, y, x);
first = vector(x(1), y(1), z(1));
steps = vector(x(2) - x(1), y(2) - y(1), z(2) - z(1));
attribute = @(name) sprintf([ ...
  '      <Attribute Name="%s" AttributeType="Scalar" Center="Node">\n' ...
  '        <DataItem Format="HDF" NumberType="Float" Precision="4" Dimensions="%s">\n' ...
  '          volume.h5:/%s/value\n' ...
  '        </DataItem>\n' ...
  '      </Attribute>\n'], name, sizes, name);
text_file = fopen(fullfile(folder, 'volume.xdmf'), 'w');
fprintf(text_file, [ ...
  '<?xml version="1.0"?>\n' ...
  '<Xdmf Version="2.0">\n' ...
  '  <Domain>\n' ...
  '    <Grid Name="pressure" GridType="Uniform">\n' ...
  '      <Topology TopologyType="3DCoRectMesh" Dimensions="%s"/>\n' ...
  '      <Geometry GeometryType="ORIGIN_DXDYDZ">\n' ...
  '%s%s' ...
  '      </Geometry>\n' ...
  '%s%s' ...
  '    </Grid>\n' ...
  '  </Domain>\n' ...
  '</Xdmf>\n'], sizes, first, steps, attribute('magnitude'), attribute('phase'));
fclose(text_file);

fprintf('volume: %d x %d x %d points in %s\n', grid.sizes, file);
fprintf('open:   %s\n', fullfile(folder, 'volume.xdmf'));

h = pistonfield_plot(p, grid, 'at', [0 0 10e-3], 'show', 'level', 'range', 30);
example_picture(h.figure, folder, 'volume');
