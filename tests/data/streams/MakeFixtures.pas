{ Writes the stream fixtures: each as a binary component stream (.bin) and
  the framework's text form of it (.txt). Run in an empty directory. }
program MakeFixtures;

{$mode delphi}{$H+}

uses Classes, SysUtils, StreamClasses;

procedure Save(C: TComponent; const Name: string; Ancestor: TComponent = nil);
var
  Bin: TFileStream;
  Txt: TFileStream;
begin
  Bin := TFileStream.Create(Name + '.bin', fmCreate);
  try
    Bin.WriteDescendent(C, Ancestor);
    Bin.Position := 0;
    Txt := TFileStream.Create(Name + '.txt', fmCreate);
    try
      ObjectBinaryToText(Bin, Txt);
    finally
      Txt.Free;
    end;
  finally
    Bin.Free;
  end;
end;

var
  D, Child, A: TDrawing;
  P: TPoint;
  L: TLabelItem;
begin
  D := TDrawing.Create(nil);
  try
    D.Name := 'Main';
    D.Count := 70000;
    D.Big := -1099511627776;
    D.Flag := True;
    D.Mark := 'Z';
    D.Shade := shDark;
    D.Shades := [shDark, shNone];
    D.Ratio := 0.25;
    D.Scale := 1.5;
    D.Price := -1.5;
    D.Title := 'it''s'#10'a '#200' title';
    D.Pen.Width := 3;
    P := TPoint(D.Points.Add);
    P.X := 1;
    P.Y := -2;
    D.Points.Add;
    L := TLabelItem(D.Labels.Add);
    L.Text := StringOfChar('w', 300);
    L.Size := 12.5;
    D.Extra := 42;
    D.Blob := #0#1#2#3;
    D.Tags.Add('red');
    D.Tags.Add('green');
    Child := TDrawing.Create(D);
    Child.Name := 'Child';
    Child.Count := 7;
    Child.Shade := shNone;
    Child.Buddy := D;
    Child.OnClick := D.MainClick;
    D.Buddy := Child;
    Save(D, 'drawing');
  finally
    D.Free;
  end;

  D := TDrawing.Create(nil);
  try
    D.Name := 'Empty';
    Save(D, 'empty');
  finally
    D.Free;
  end;

  { A descendant of an ancestor with two children: the children it shares
    are written as inherited, in a different order with their positions,
    and only what differs from the ancestor is written. }
  A := TDrawing.Create(nil);
  D := TDrawing.Create(nil);
  try
    A.Name := 'Form';
    A.Count := 1;
    TDrawing.Create(A).Name := 'First';
    TDrawing.Create(A).Name := 'Second';
    D.Name := 'Form';
    D.Count := 2;
    Child := TDrawing.Create(D);
    Child.Name := 'Second';
    Child.Count := 5;
    TDrawing.Create(D).Name := 'First';
    TDrawing.Create(D).Name := 'Third';
    Save(D, 'inherited', A);
  finally
    D.Free;
    A.Free;
  end;
end.
